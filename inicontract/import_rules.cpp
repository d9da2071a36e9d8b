#include "inicontract/import_rules.h"

#include "inicontract/ini_parser_protocol.h"
#include "runtime/crt.h"

namespace inicontract {

namespace {

constexpr const char *SERIAL_A_SECTIONS[] = {"BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE",
                                             "BIOS::SERIAL PORT CONFIGURATION::SERIAL A ENABLE"};
constexpr const char *SERIAL_B_SECTIONS[] = {"BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE",
                                             "BIOS::SERIAL PORT CONFIGURATION::SERIAL B ENABLE"};

// The key's text from the first of Sections that has it.
bool ReadFromEither(IniKeyReader Read, void *Context, const char *const (&Sections)[2], const char *Key,
                    char (&Value)[INI_VALUE_TEXT_BYTES]) {
  for (const char *Section : Sections) {
    if (Read(Context, Section, Key, Value, sizeof(Value)) == INI_LOOKUP_FOUND) return true;
  }
  return false;
}

bool SameIgnoringCase(const char *A, const char *B) {
  for (; *A != '\0' && crt::tolower(static_cast<UINT8>(*A)) == crt::tolower(static_cast<UINT8>(*B)); ++A, ++B) {
  }
  return *A == '\0' && *B == '\0';
}

}  // namespace

bool ReadIniNumber(const char *Text, UINT32 &Value) {
  constexpr UINT64 HIGHEST = 0xFFFFFFFFull;
  constexpr UINT64 LOWEST_MAGNITUDE = 0x80000000ull;
  const char *At = Text;
  while (*At == ' ' || (*At >= '\t' && *At <= '\r')) ++At;
  bool Negative = false;
  if (*At == '+' || *At == '-') Negative = *At++ == '-';
  UINT64 Magnitude = 0;
  bool TooLarge = false;
  for (; *At >= '0' && *At <= '9'; ++At) {
    Magnitude = Magnitude * 10 + static_cast<UINT64>(*At - '0');
    if (Magnitude > HIGHEST) {
      TooLarge = true;
      Magnitude = HIGHEST + 1;  // stays put: no overflow of the accumulator
    }
  }
  if (TooLarge || (Negative && Magnitude > LOWEST_MAGNITUDE)) {
    Value = 0;
    return false;
  }
  Value = static_cast<UINT32>(Negative ? (0 - Magnitude) : Magnitude);
  return true;
}

bool KeyReshapesForms(const char *Key) {
  return crt::strcmp(Key, CONSOLE_REDIRECTION_PROMPT) == 0 || crt::strcmp(Key, REMAPPING_PROMPT) == 0;
}

bool KeyOpensSerialSection(const char *Key) { return crt::strstr(Key, "Serial") != nullptr; }

bool SerialPortsConflict(IniKeyReader Read, void *Context) {
  static constexpr const char *KEYS[] = {"Address", "IRQ"};
  for (const char *Key : KEYS) {
    char PortA[INI_VALUE_TEXT_BYTES] = {};
    char PortB[INI_VALUE_TEXT_BYTES] = {};
    if (!ReadFromEither(Read, Context, SERIAL_A_SECTIONS, Key, PortA)) return false;
    if (!ReadFromEither(Read, Context, SERIAL_B_SECTIONS, Key, PortB)) return false;
    if (SameIgnoringCase(PortA, PortB)) return true;
  }
  return false;
}

}  // namespace inicontract

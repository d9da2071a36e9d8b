// libFuzzer target: the parser image's lookup over arbitrary INI files and
// section and key names.
//
// Input: one byte of ValueSize, then the section name, a NUL, the key name,
// a NUL, and the rest is the file. The file is written onto the simulated
// volume under one of two names in turn, so every input is read afresh,
// and asked through the protocol of iniparse.efi, loaded once per process
// through LoadImage/StartImage. Each answer is compared with a plain
// reference reading of the same rules, the value buffer has exactly
// ValueSize bytes (AddressSanitizer watches its end) and must stay
// untouched unless the key was found.
#include "inicontract/ini_parser_protocol.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"
#include "simimages/images.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr size_t MAX_NAME = 4096;  // longer names in a file are ignored
constexpr uint8_t UNTOUCHED = 0xA5;

struct Platform {
  sim::TempFolder Folder{"bioscfg-iniparse-fuzz"};
  sim::Firmware Firmware;
  INI_PARSER_LOOKUP Lookup = nullptr;
};

Platform &TheParser() {
  static Platform *P = [] {
    auto *Made = new Platform();
    if (Made->Folder.Path().empty()) std::abort();
    Made->Firmware.MountVolume(Made->Folder.Path());
    Made->Firmware.SetShellVariable(u"TORVEL_PATH", u"fs0:\\");
    if (!Made->Firmware.InstallImage("fs0:\\iniparse.efi", simimages::IniparseImage())) std::abort();
    EFI_HANDLE Image = nullptr;
    if (Made->Firmware.LoadAndStart("fs0:\\iniparse.efi", &Image) != EFI_SUCCESS) std::abort();
    EFI_GUID Guid = INI_PARSER_PROTOCOL_GUID;
    void *Interface = nullptr;
    if (Made->Firmware.SystemTable()->BootServices->LocateProtocol(&Guid, nullptr, &Interface) != EFI_SUCCESS)
      std::abort();
    Made->Lookup = reinterpret_cast<INI_PARSER_LOOKUP>(Interface);
    return Made;
  }();
  return *P;
}

// ---- the reference reading ------------------------------------------------

bool IsBlank(char C) { return C == ' ' || C == '\t'; }

std::string Trim(const std::string &Text) {
  size_t Start = 0, End = Text.size();
  while (Start < End && IsBlank(Text[Start])) ++Start;
  while (End > Start && IsBlank(Text[End - 1])) --End;
  return Text.substr(Start, End - Start);
}

std::string Fold(std::string Text) {
  for (char &C : Text)
    if (C >= 'A' && C <= 'Z') C = static_cast<char>(C - 'A' + 'a');
  return Text;
}

struct Expected {
  INT32 Result;
  std::string Value;
};

Expected ReferenceLookup(std::string File, const std::string &Section, const std::string &Key, size_t ValueSize) {
  if (File.compare(0, 3, "\xEF\xBB\xBF") == 0) File.erase(0, 3);
  std::vector<std::string> Headings;  // folded, in file order
  struct KeyLine {
    size_t Heading;
    std::string Name, Value;
  };
  std::vector<KeyLine> Keys;
  for (size_t Start = 0; Start < File.size();) {
    size_t End = File.find('\n', Start);
    if (End == std::string::npos) End = File.size();
    std::string Line = File.substr(Start, End - Start);
    Start = End + 1;
    if (!Line.empty() && Line.back() == '\r') Line.pop_back();
    size_t First = 0;
    while (First < Line.size() && IsBlank(Line[First])) ++First;
    if (First == Line.size() || Line[First] == ';' || Line[First] == '#') continue;
    if (Line[First] == '[') {
      const size_t Close = Line.find(']', First + 1);
      if (Close == std::string::npos || Close - First - 1 > MAX_NAME) continue;
      Headings.push_back(Fold(Line.substr(First + 1, Close - First - 1)));
      continue;
    }
    const size_t Equals = Line.find('=', First);
    if (Equals == std::string::npos || Headings.empty()) continue;
    const std::string Name = Trim(Line.substr(First, Equals - First));
    if (Name.empty() || Name.size() > MAX_NAME) continue;
    const size_t Semicolon = Line.find(';', Equals + 1);
    const std::string Value = Trim(Line.substr(Equals + 1, Semicolon == std::string::npos ? std::string::npos
                                                                                            : Semicolon - Equals - 1));
    Keys.push_back(KeyLine{Headings.size() - 1, Fold(Name), Value});
  }

  size_t Last = Headings.size();
  for (size_t I = 0; I < Headings.size(); ++I)
    if (Headings[I] == Fold(Section)) Last = I;
  if (Last == Headings.size()) return {INI_LOOKUP_SECTION_NOT_FOUND, ""};
  std::string Value;
  const std::string Wanted = Fold(Trim(Key));
  if (!Wanted.empty()) {
    bool Found = false;
    for (const KeyLine &K : Keys) {
      if (K.Heading != Last || K.Name != Wanted) continue;
      Found = true;
      Value = K.Value;
    }
    if (!Found) return {INI_LOOKUP_KEY_NOT_FOUND, ""};
  }
  Value = Value.substr(0, Value.find('\0'));
  if (Value.size() + 1 > ValueSize) return {INI_LOOKUP_VALUE_TOO_LONG, ""};
  return {INI_LOOKUP_FOUND, Value};
}

// ---- one lookup, checked -----------------------------------------------------

void AskAndCompare(Platform &P, std::string FileName, std::string Section, std::string Key, const std::string &File,
                   UINT16 ValueSize) {
  std::vector<uint8_t> Value(ValueSize, UNTOUCHED);
  std::vector<uint8_t> Aux(150, 0);
  const INT32 Result = P.Lookup(reinterpret_cast<CHAR8 *>(Section.data()), reinterpret_cast<CHAR8 *>(Key.data()),
                                Aux.data(), ValueSize == 0 ? nullptr : Value.data(), ValueSize,
                                reinterpret_cast<CHAR8 *>(FileName.data()), 0);
  const Expected Want = ReferenceLookup(File, Section, Key, ValueSize);
  std::string Got;
  size_t Written = 0;
  if (Result == INI_LOOKUP_FOUND) {
    while (Written < ValueSize && Value[Written] != 0) ++Written;
    if (Written == ValueSize) std::abort();  // no NUL within ValueSize
    Got.assign(reinterpret_cast<const char *>(Value.data()), Written++);
  }
  for (size_t I = Written; I < Value.size(); ++I)
    if (Value[I] != UNTOUCHED) std::abort();
  for (uint8_t Byte : Aux)
    if (Byte != 0) std::abort();
  if (Result != Want.Result || Got != Want.Value) {
    std::fprintf(stderr, "lookup gave %d \"%s\", the rules give %d \"%s\"\n", Result, Got.c_str(), Want.Result,
                 Want.Value.c_str());
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  if (Size < 1) return 0;
  Platform &P = TheParser();
  const auto ValueSize = static_cast<UINT16>(Data[0]);
  const std::string Rest(reinterpret_cast<const char *>(Data + 1), Size - 1);
  const size_t SectionEnd = Rest.find('\0');
  const std::string Section = Rest.substr(0, SectionEnd);
  const size_t KeyStart = SectionEnd == std::string::npos ? Rest.size() : SectionEnd + 1;
  const size_t KeyEnd = std::min(Rest.find('\0', KeyStart), Rest.size());
  const std::string Key = Rest.substr(KeyStart, KeyEnd - KeyStart);
  const std::string File = KeyEnd < Rest.size() ? Rest.substr(KeyEnd + 1) : std::string();

  // Two names in turn: a file of the same size and time stamp as the last
  // one must not be mistaken for it.
  static unsigned Turn = 0;
  const std::string Name = (++Turn % 2) != 0 ? "fuzz-a.ini" : "fuzz-b.ini";
  {
    std::ofstream Out(P.Folder.Path() + "/" + Name, std::ios::binary | std::ios::trunc);
    Out.write(File.data(), static_cast<std::streamsize>(File.size()));
    if (!Out.good()) std::abort();
  }
  AskAndCompare(P, Name, Section, Key, File, ValueSize);
  // Again from the index already built, as an import asks: the probe.
  AskAndCompare(P, Name, Section, "", File, ValueSize);
  return 0;
}

#include "inicontract/section_path.h"

#include "runtime/crt.h"

namespace inicontract {

namespace {

// A little-endian UTF-16 unit of a text that need not be aligned.
UINT16 UnitAt(const UINT8 *Bytes, UINTN Index) {
  return static_cast<UINT16>(Bytes[2 * Index] | (Bytes[2 * Index + 1] << 8));
}

// The forms whose questions are saved.
constexpr const char *EXPORTED_FORM_TITLES[] = {
    "ADVANCED",
    "MEMORY CONFIGURATION",
    "MEMORY RAS AND PERFORMANCE CONFIGURATION",
    "SYSTEM ACOUSTICS AND PERFORMANCE CONFIGURATION",
    "MASS STORAGE CONTROLLER CONFIGURATION",
    "SERIAL PORT CONFIGURATION",
    "PCI CONFIGURATION",
    "PROCESSOR CONFIGURATION",
    "USB CONFIGURATION",
    "SECURITY",
    "SERVER MANAGEMENT",
    "CONSOLE REDIRECTION",
    "HARDWARE MONITOR",
    "MAIN",
};

// Appends Text to Result (used bytes in *Used), stopping at the last byte.
void Append(char *Result, UINT32 *Used, const char *Text, UINTN Length) {
  for (UINTN Index = 0; Index < Length && *Used + 1 < SECTION_PATH_BYTES; ++Index) Result[(*Used)++] = Text[Index];
  Result[*Used] = '\0';
}

bool Within(INT64 Difference, INT64 Highest) { return Difference >= 0 && Difference <= Highest; }

// How many names from the end of a path of Depth names the new form
// replaces: 1 for a sibling, more for a form higher up.
UINT32 NamesReplaced(INT64 PreviousId, INT64 NewId, UINT32 Depth) {
  if (Within(NewId - PreviousId, 9)) return 1;
  UINT32 Up = 1;
  INT64 Ancestor = PreviousId;
  for (UINT32 Step = 0; Step < Depth; ++Step) {
    if (Within(NewId - Ancestor, 8)) break;
    ++Up;
    Ancestor /= 10;
  }
  return Up;
}

}  // namespace

void BuildSectionPath(const char *SectionPath, UINT32 PreviousId, const char *Title, UINT32 NewId, char *Result) {
  UINT32 Used = 0;
  const INT64 Previous = static_cast<INT32>(PreviousId);
  const INT64 New = static_cast<INT32>(NewId);
  const UINTN PathLength = crt::strlen(SectionPath);
  const UINTN TitleLength = crt::strlen(Title);
  if (crt::strcmp(SectionPath, "BIOS") == 0) {
    Append(Result, &Used, "BIOS::", 6);
  } else if (Within(New - 10 * Previous, 9)) {
    Append(Result, &Used, SectionPath, PathLength);
    Append(Result, &Used, "::", 2);
  } else {
    UINT32 Colons = 0;
    for (UINTN Index = 0; Index < PathLength; ++Index) Colons += SectionPath[Index] == ':' ? 1 : 0;
    const UINT32 Depth = Colons / 2;
    const UINT32 Up = NamesReplaced(Previous, New, Depth);
    if (Up >= Depth + 1) {
      Append(Result, &Used, "BIOS::", 6);
    } else {
      // Keep the path up to and including its (2 * Keep)-th colon.
      const UINT32 Keep = Depth - Up + 1;
      UINTN End = 0;
      for (UINT32 Seen = 0; End < PathLength && Seen < 2 * Keep; ++End) Seen += SectionPath[End] == ':' ? 1 : 0;
      Append(Result, &Used, SectionPath, End);
    }
  }
  Append(Result, &Used, Title, TitleLength);
}

void BuildSerialSectionPath(const char *SectionPath, UINT16 *PreviousFormId, UINT16 *Count, const char *Title,
                            char *Result) {
  if (++*Count == 1) {
    const UINT32 Child = static_cast<UINT32>(*PreviousFormId) * 10 + 1;
    BuildSectionPath(SectionPath, *PreviousFormId, Title, Child, Result);
    *PreviousFormId = static_cast<UINT16>(Child);
    return;
  }
  *PreviousFormId = static_cast<UINT16>(*PreviousFormId + 1);
  BuildSectionPath(SectionPath, *PreviousFormId, Title, *PreviousFormId, Result);
}

char *UppercaseAscii(char *Text) {
  for (char *C = Text; *C != '\0'; ++C) {
    if (*C >= 'a' && *C <= 'z') *C = static_cast<char>(*C - ('a' - 'A'));
  }
  return Text;
}

bool IsExportedFormTitle(const char *Title) {
  for (const char *Exported : EXPORTED_FORM_TITLES) {
    UINTN Index = 0;
    while (Exported[Index] != '\0' && crt::toupper(static_cast<UINT8>(Title[Index])) == Exported[Index]) ++Index;
    if (Exported[Index] == '\0' && Title[Index] == '\0') return true;
  }
  return false;
}

void NarrowPrompt(const CHAR16 *Text, UINT32 Length, bool SkipLeadingBlanks, char *Out, UINT32 Size) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Text);
  UINT32 Used = 0;
  UINT32 Index = 0;
  if (SkipLeadingBlanks) {
    while (Index < Length && UnitAt(Bytes, Index) == ' ') ++Index;
  }
  for (; Index < Length && Used + 1 < Size; ++Index) {
    Out[Used++] = static_cast<char>(UnitAt(Bytes, Index) & 0xFF);
  }
  Out[Used] = '\0';
}

}  // namespace inicontract

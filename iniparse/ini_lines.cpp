// Classifying the lines of an INI file (the rules are in ini_lines.h).
#include "iniparse/ini_lines.h"

namespace iniparse {

namespace {

bool IsBlank(char C) { return C == ' ' || C == '\t'; }

// Offset of the first C in Text[From, To), or To.
UINT32 Find(const char *Text, UINT32 From, UINT32 To, char C) {
  while (From < To && Text[From] != C) ++From;
  return From;
}

IniLine Ignored() { return IniLine{IniLineKind::Ignored, {0, 0}, {0, 0}}; }

IniLine SectionLine(const char *Text, UINT32 Open, UINT32 LineEnd) {
  const UINT32 Close = Find(Text, Open + 1, LineEnd, ']');
  if (Close == LineEnd) return Ignored();
  const TextSpan Name{Open + 1, Close - Open - 1};
  if (Name.Length > MAX_INI_NAME) return Ignored();
  return IniLine{IniLineKind::Section, Name, {0, 0}};
}

IniLine KeyLine(const char *Text, UINT32 Start, UINT32 LineEnd) {
  const UINT32 Equals = Find(Text, Start, LineEnd, '=');
  if (Equals == LineEnd) return Ignored();
  const TextSpan Name = TrimBlanks(Text, Start, Equals);
  if (Name.Length == 0 || Name.Length > MAX_INI_NAME) return Ignored();
  const UINT32 ValueEnd = Find(Text, Equals + 1, LineEnd, ';');
  return IniLine{IniLineKind::Key, Name, TrimBlanks(Text, Equals + 1, ValueEnd)};
}

}  // namespace

UINT32 FirstLineOffset(const char *Text, UINT32 Length) {
  const bool Bom = Length >= 3 && static_cast<UINT8>(Text[0]) == 0xEF && static_cast<UINT8>(Text[1]) == 0xBB &&
                   static_cast<UINT8>(Text[2]) == 0xBF;
  return Bom ? 3 : 0;
}

TextSpan TrimBlanks(const char *Text, UINT32 Start, UINT32 End) {
  while (Start < End && IsBlank(Text[Start])) ++Start;
  while (End > Start && IsBlank(Text[End - 1])) --End;
  return TextSpan{Start, End - Start};
}

IniLine ReadIniLine(const char *Text, UINT32 Length, UINT32 &Offset) {
  const UINT32 Start = Offset;
  const UINT32 NewLine = Find(Text, Start, Length, '\n');
  Offset = NewLine < Length ? NewLine + 1 : Length;
  UINT32 LineEnd = NewLine;
  if (LineEnd > Start && Text[LineEnd - 1] == '\r') --LineEnd;

  UINT32 First = Start;
  while (First < LineEnd && IsBlank(Text[First])) ++First;
  if (First == LineEnd || Text[First] == ';' || Text[First] == '#') return Ignored();
  if (Text[First] == '[') return SectionLine(Text, First, LineEnd);
  return KeyLine(Text, First, LineEnd);
}

}  // namespace iniparse

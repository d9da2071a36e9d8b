#include "client/saved_block.h"

namespace {

constexpr char OPTIONS_MARK[] = ";Options";
constexpr UINTN OPTIONS_MARK_LENGTH = sizeof(OPTIONS_MARK) - 1;

bool StartsWith(const char *At, const char *End, const char *Word) {
  for (; *Word != '\0'; ++Word, ++At) {
    if (At >= End || *At != *Word) return false;
  }
  return true;
}

const char *LineEnd(const char *At, const char *End) {
  while (At < End && *At != '\n') ++At;
  return At;
}

bool IsDigit(char C) { return C >= '0' && C <= '9'; }

// Where an option starts: ": " then an optional '-' and digits, then '=',
// ": " or the end.
bool OptionStartsAt(const char *At, const char *End) {
  if (!StartsWith(At, End, ": ")) return false;
  At += 2;
  if (At < End && *At == '-') ++At;
  if (At >= End || !IsDigit(*At)) return false;
  while (At < End && IsDigit(*At)) ++At;
  return At == End || *At == '=' || StartsWith(At, End, ": ");
}

}  // namespace

INT32 SpanNumber(const char *Text, const char *End) {
  while (Text < End && (*Text == ' ' || *Text == '\t')) ++Text;
  bool Negative = false;
  if (Text < End && (*Text == '-' || *Text == '+')) Negative = *Text++ == '-';
  INT64 Value = 0;
  for (; Text < End && IsDigit(*Text); ++Text) {
    Value = Value * 10 + (*Text - '0');
    if (Value > 0xFFFFFFFFll) Value = 0xFFFFFFFFll;  // keep the low 32 bits' meaning bounded
  }
  return static_cast<INT32>(static_cast<UINT32>(Negative ? -Value : Value));
}

SavedBlock::SavedBlock(const char *Text, UINTN Length) : At(nullptr), End(Text + Length) {
  // The last line that is exactly "[BIOS]".
  for (const char *Line = Text; Line < End;) {
    const char *Stop = LineEnd(Line, End);
    const char *Trimmed = Stop > Line && Stop[-1] == '\r' ? Stop - 1 : Stop;
    if (Trimmed - Line == 6 && StartsWith(Line, Trimmed, "[BIOS]")) At = Stop;
    Line = Stop < End ? Stop + 1 : End;
  }
}

bool SavedBlock::Next(SavedEntry &Out) {
  while (At != nullptr && At < End) {
    const char *Line = *At == '\n' ? At + 1 : At;
    const char *Stop = LineEnd(Line, End);
    At = Stop;
    const char *Trimmed = Stop > Line && Stop[-1] == '\r' ? Stop - 1 : Stop;
    if (Trimmed > Line && *Line == '[' && Trimmed[-1] == ']') {
      if (Trimmed - Line == 6 && StartsWith(Line, Trimmed, "[BIOS]")) return false;  // a later block
      Section = SavedSpan{Line + 1, static_cast<UINTN>(Trimmed - Line - 2)};
      continue;
    }
    const char *Mark = nullptr;
    for (const char *C = Line; C + OPTIONS_MARK_LENGTH <= Trimmed; ++C) {
      if (StartsWith(C, Trimmed, OPTIONS_MARK)) Mark = C;
    }
    if (Mark == nullptr || Section.Text == nullptr) continue;
    const char *KeyEnd = Mark;
    while (KeyEnd > Line && KeyEnd[-1] == ' ') --KeyEnd;
    const char *Equals = nullptr;
    for (const char *C = Line; C < KeyEnd; ++C) {
      if (*C == '=') Equals = C;
    }
    if (Equals == nullptr) continue;
    Out.Section = Section;
    Out.Key = SavedSpan{Line, static_cast<UINTN>(Equals - Line)};
    Out.Value = SpanNumber(Equals + 1, KeyEnd);
    Out.Options = SavedSpan{Mark + OPTIONS_MARK_LENGTH, static_cast<UINTN>(Trimmed - Mark - OPTIONS_MARK_LENGTH)};
    return true;
  }
  return false;
}

bool SavedOptions::Next(SavedOption &Out) {
  if (At >= End || !OptionStartsAt(At, End)) return false;
  const char *Number = At + 2;
  const char *After = Number;
  if (After < End && *After == '-') ++After;
  while (After < End && IsDigit(*After)) ++After;
  Out.Value = SpanNumber(Number, After);
  Out.Text = SavedSpan{After, 0};
  At = After;
  if (At < End && *At == '=') {
    const char *Text = ++At;
    while (At < End && !OptionStartsAt(At, End)) ++At;
    Out.Text = SavedSpan{Text, static_cast<UINTN>(At - Text)};
  }
  return true;
}

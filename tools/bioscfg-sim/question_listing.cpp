// The question list as text. A large platform lists millions of options
// (every value of every numeric range), so each line is assembled by hand
// into one reused buffer and written out before the next.
#include "tools/bioscfg-sim/question_listing.h"

#include "forms/option_cursor.h"

#include <string>

namespace bioscfgsim {
namespace {

const char HEX[] = "0123456789ABCDEF";

void AppendDecimal(std::string &Out, uint32_t Value) {
  char Digits[10];
  int Count = 0;
  do {
    Digits[Count++] = static_cast<char>('0' + Value % 10);
    Value /= 10;
  } while (Value != 0);
  while (Count > 0) Out.push_back(Digits[--Count]);
}

// At least MinimumDigits upper-case hex digits, as "%0*X" prints them.
void AppendHex(std::string &Out, uint32_t Value, int MinimumDigits) {
  int Digits = 1;
  while (Digits < 8 && (Value >> (4 * Digits)) != 0) ++Digits;
  if (Digits < MinimumDigits) Digits = MinimumDigits;
  for (int Digit = Digits - 1; Digit >= 0; --Digit) Out.push_back(HEX[(Value >> (4 * Digit)) & 0xF]);
}

// Texts point into the packed export, so they are read byte by byte. Units
// outside printable ASCII, the quote and the backslash become \uXXXX.
void AppendQuoted(std::string &Out, const CHAR16 *Text, size_t Length) {
  if (Text == nullptr) {
    Out += "<none>";
    return;
  }
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Text);
  Out.push_back('"');
  for (size_t Index = 0; Index < Length; ++Index) {
    const uint32_t Unit = Bytes[2 * Index] | (Bytes[2 * Index + 1] << 8);
    if (Unit >= 0x20 && Unit < 0x7F && Unit != '"' && Unit != '\\') {
      Out.push_back(static_cast<char>(Unit));
      continue;
    }
    Out += "\\u";
    AppendHex(Out, Unit, 4);
  }
  Out.push_back('"');
}

size_t WideLength(const CHAR16 *Text) {
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Text);
  size_t Units = 0;
  while (Bytes[2 * Units] != 0 || Bytes[2 * Units + 1] != 0) ++Units;
  return Units;
}

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", read byte-wise: GUIDs inside the
// export are not aligned.
void AppendGuid(std::string &Out, const EFI_GUID *Guid) {
  if (Guid == nullptr) {
    Out += "<none>";
    return;
  }
  const auto *B = reinterpret_cast<const uint8_t *>(Guid);
  // Data1, Data2 and Data3 are little-endian; Data4 is a byte array.
  static const int Order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  Out.push_back('{');
  for (int Index = 0; Index < 16; ++Index) {
    if (Index == 4 || Index == 6 || Index == 8 || Index == 10) Out.push_back('-');
    Out.push_back(HEX[B[Order[Index]] >> 4]);
    Out.push_back(HEX[B[Order[Index]] & 0xF]);
  }
  Out.push_back('}');
}

const char *KindName(UINT8 OpCode) {
  switch (OpCode) {
    case IFR_FORM_OP: return "form    ";
    case IFR_ONE_OF_OP: return "one-of  ";
    case IFR_CHECKBOX_OP: return "checkbox";
    case IFR_NUMERIC_OP: return "numeric ";
    default: return "opcode  ";
  }
}

// The line of one record, without its newline.
void AppendQuestionLine(std::string &Line, const SetupQuestion &Q, uint16_t FormId) {
  Line += KindName(Q.OpCode);
  Line += " op=0x";
  AppendHex(Line, Q.OpCode, 2);
  Line += " flags=0x";
  AppendHex(Line, Q.Flags, 1);
  Line += " form=";
  AppendDecimal(Line, FormId);
  Line += " prompt=";
  AppendQuoted(Line, Q.PromptText, Q.PromptLength);
  if (Q.OpCode == IFR_FORM_OP) return;

  Line += " var=";
  AppendQuoted(Line, Q.VariableName, Q.VariableName != nullptr ? WideLength(Q.VariableName) : 0);
  Line.push_back(' ');
  AppendGuid(Line, Q.VariableGuid);
  Line += " offset=0x";
  AppendHex(Line, Q.Offset, 4);
  Line += " width=";
  AppendDecimal(Line, Q.Width);
  Line += " value=";
  AppendDecimal(Line, Q.Value);
  Line += " options=";
  bool First = true;
  OptionCursor Cursor(Q);
  for (OptionView O{}; Cursor.Next(O);) {
    if (!First) Line.push_back(',');
    First = false;
    AppendDecimal(Line, O.Value);
    Line.push_back('=');
    AppendQuoted(Line, O.Text, O.TextLength);
  }
  if (First) Line.push_back('-');
}

}  // namespace

void WriteQuestionList(std::FILE *Out, const SetupQuestion *Head) {
  std::string Line;
  uint16_t FormId = 0;
  for (const SetupQuestion *Q = Head; Q != nullptr; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP) FormId = Q->FormId;
    Line.clear();
    AppendQuestionLine(Line, *Q, FormId);
    Line.push_back('\n');
    std::fwrite(Line.data(), 1, Line.size(), Out);
  }
}

}  // namespace bioscfgsim

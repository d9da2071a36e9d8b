// The question list as text. A large platform lists millions of options
// (every value of every numeric range), so the text is assembled by hand
// into one bounded buffer that is written out whenever it fills.
#include "tools/bioscfg-sim/question_listing.h"

#include "forms/option_cursor.h"

#include <cstring>
#include <memory>

namespace bioscfgsim {
namespace {

const char HEX[] = "0123456789ABCDEF";

// The listing on its way to the FILE: text is assembled in place in a
// fixed buffer, which goes out whenever the next piece would not fit, so
// memory stays bounded however long the list (or one line of it) is, and
// the millions of small appends stay plain stores.
class Output {
 public:
  explicit Output(std::FILE *Out) : Out(Out), Buffer(new char[INITIAL_BYTES]), Capacity(INITIAL_BYTES) {}
  ~Output() { Flush(); }
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  // Room for Bytes more bytes; returns where they go. Commit says where
  // the written bytes end.
  char *Reserve(size_t Bytes) {
    if (Capacity - Used < Bytes) {
      Flush();
      // Only a text of tens of thousands of characters needs more.
      if (Capacity < Bytes) {
        Buffer.reset(new char[Bytes]);
        Capacity = Bytes;
      }
    }
    return Buffer.get() + Used;
  }
  void Commit(char *End) { Used = static_cast<size_t>(End - Buffer.get()); }
  void Append(const char *Text) {
    char *At = Reserve(std::strlen(Text));
    while (*Text != 0) *At++ = *Text++;
    Commit(At);
  }
  void Flush() {
    std::fwrite(Buffer.get(), 1, Used, Out);
    Used = 0;
  }

 private:
  static constexpr size_t INITIAL_BYTES = 1 << 16;
  std::FILE *Out;
  std::unique_ptr<char[]> Buffer;
  size_t Capacity;
  size_t Used = 0;
};

constexpr size_t DECIMAL_BYTES = 10;  // the digits of a 32-bit value
constexpr size_t QUOTED_UNIT_BYTES = 6;  // \uXXXX

// "00" to "99", so that a value is taken apart two digits per division.
struct DigitPairs {
  char Text[200];
  constexpr DigitPairs() : Text() {
    for (int Pair = 0; Pair < 100; ++Pair) {
      Text[2 * Pair] = static_cast<char>('0' + Pair / 10);
      Text[2 * Pair + 1] = static_cast<char>('0' + Pair % 10);
    }
  }
};
constexpr DigitPairs PAIRS;

// Written from its last digit back, straight into place.
char *PutDecimal(char *At, uint32_t Value) {
  size_t Digits = 1;
  for (uint64_t Bound = 10; Digits < DECIMAL_BYTES && Value >= Bound; Bound *= 10) ++Digits;
  char *Last = At + Digits;
  char *Digit = Last;
  while (Value >= 100) {
    const uint32_t Pair = Value % 100;
    Value /= 100;
    *--Digit = PAIRS.Text[2 * Pair + 1];
    *--Digit = PAIRS.Text[2 * Pair];
  }
  if (Value >= 10) {
    *--Digit = PAIRS.Text[2 * Value + 1];
    *--Digit = PAIRS.Text[2 * Value];
  } else {
    *--Digit = static_cast<char>('0' + Value);
  }
  return Last;
}

// At least MinimumDigits upper-case hex digits, as "%0*X" prints them.
char *PutHex(char *At, uint32_t Value, int MinimumDigits) {
  int Digits = 1;
  while (Digits < 8 && (Value >> (4 * Digits)) != 0) ++Digits;
  if (Digits < MinimumDigits) Digits = MinimumDigits;
  for (int Digit = Digits - 1; Digit >= 0; --Digit) *At++ = HEX[(Value >> (4 * Digit)) & 0xF];
  return At;
}

void AppendDecimal(Output &Out, uint32_t Value) { Out.Commit(PutDecimal(Out.Reserve(DECIMAL_BYTES), Value)); }
void AppendHex(Output &Out, uint32_t Value, int MinimumDigits) {
  Out.Commit(PutHex(Out.Reserve(8), Value, MinimumDigits));
}

// Printable ASCII other than the quote and the backslash stands as it is.
struct PlainUnits {
  bool Plain[128];
  constexpr PlainUnits() : Plain() {
    for (int Unit = 0x20; Unit < 0x7F; ++Unit) Plain[Unit] = Unit != '"' && Unit != '\\';
  }
};
constexpr PlainUnits PLAIN;

// Texts point into the packed export, so each unit is read as two bytes.
// Units that do not stand as they are become \uXXXX.
char *PutQuoted(char *At, const CHAR16 *Text, size_t Length) {
  const auto *Unit = reinterpret_cast<const uint8_t *>(Text);
  const uint8_t *End = Unit + 2 * Length;
  *At++ = '"';
  for (; Unit != End; Unit += 2) {
    if (Unit[1] == 0 && Unit[0] < 128 && PLAIN.Plain[Unit[0]]) {
      *At++ = static_cast<char>(Unit[0]);
      continue;
    }
    *At++ = '\\';
    *At++ = 'u';
    At = PutHex(At, Unit[0] | (Unit[1] << 8), 4);
  }
  *At++ = '"';
  return At;
}

void AppendQuoted(Output &Out, const CHAR16 *Text, size_t Length) {
  if (Text == nullptr) {
    Out.Append("<none>");
    return;
  }
  Out.Commit(PutQuoted(Out.Reserve(QUOTED_UNIT_BYTES * Length + 2), Text, Length));
}

size_t WideLength(const CHAR16 *Text) {
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Text);
  size_t Units = 0;
  while (Bytes[2 * Units] != 0 || Bytes[2 * Units + 1] != 0) ++Units;
  return Units;
}

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", read byte-wise: GUIDs inside the
// export are not aligned.
void AppendGuid(Output &Out, const EFI_GUID *Guid) {
  if (Guid == nullptr) {
    Out.Append("<none>");
    return;
  }
  const auto *B = reinterpret_cast<const uint8_t *>(Guid);
  // Data1, Data2 and Data3 are little-endian; Data4 is a byte array.
  static const int Order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  char *At = Out.Reserve(38);
  *At++ = '{';
  for (int Index = 0; Index < 16; ++Index) {
    if (Index == 4 || Index == 6 || Index == 8 || Index == 10) *At++ = '-';
    *At++ = HEX[B[Order[Index]] >> 4];
    *At++ = HEX[B[Order[Index]] & 0xF];
  }
  *At++ = '}';
  Out.Commit(At);
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

// value="text" for each option, comma-separated; "-" for none.
void AppendOptions(Output &Out, const SetupQuestion &Q) {
  OptionCursor Cursor(Q);
  OptionView O{};
  if (!Cursor.Next(O)) {
    Out.Append("-");
    return;
  }
  char *At = nullptr;
  do {
    // The comma, the value, '=' and the text, or <none> in its place.
    At = Out.Reserve(1 + DECIMAL_BYTES + 1 + QUOTED_UNIT_BYTES * O.TextLength + 6);
    At = PutDecimal(At, O.Value);
    *At++ = '=';
    if (O.Text == nullptr) {
      for (const char *None = "<none>"; *None != 0; ++None) *At++ = *None;
    } else {
      At = PutQuoted(At, O.Text, O.TextLength);
    }
    *At++ = ',';
    Out.Commit(At);
  } while (Cursor.Next(O));
  Out.Commit(At - 1);  // no comma after the last
}

// The line of one record, without its newline.
void AppendQuestionLine(Output &Out, const SetupQuestion &Q, uint16_t FormId) {
  Out.Append(KindName(Q.OpCode));
  Out.Append(" op=0x");
  AppendHex(Out, Q.OpCode, 2);
  Out.Append(" flags=0x");
  AppendHex(Out, Q.Flags, 1);
  Out.Append(" form=");
  AppendDecimal(Out, FormId);
  Out.Append(" prompt=");
  AppendQuoted(Out, Q.PromptText, Q.PromptLength);
  if (Q.OpCode == IFR_FORM_OP) return;

  Out.Append(" var=");
  AppendQuoted(Out, Q.VariableName, Q.VariableName != nullptr ? WideLength(Q.VariableName) : 0);
  Out.Append(" ");
  AppendGuid(Out, Q.VariableGuid);
  Out.Append(" offset=0x");
  AppendHex(Out, Q.Offset, 4);
  Out.Append(" width=");
  AppendDecimal(Out, Q.Width);
  Out.Append(" value=");
  AppendDecimal(Out, Q.Value);
  Out.Append(" options=");
  AppendOptions(Out, Q);
}

}  // namespace

void WriteQuestionList(std::FILE *Out, const SetupQuestion *Head) {
  Output Text(Out);
  uint16_t FormId = 0;
  for (const SetupQuestion *Q = Head; Q != nullptr; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP) FormId = Q->FormId;
    AppendQuestionLine(Text, *Q, FormId);
    Text.Append("\n");
  }
}

}  // namespace bioscfgsim

// The variable store text reader (see variable_reader.h). Freestanding:
// it is compiled into the host tool and into the HII provider image alike.
#include "variablefile/variable_reader.h"

namespace variablefile {

namespace {

// A run of characters inside the text.
struct Span {
  const char *Begin;
  size_t Length;
};

// The four fields, and a fifth only to notice text after the data.
constexpr size_t MAX_FIELDS = 5;
// How much of a bad field an error message quotes.
constexpr size_t QUOTED_FIELD_CHARS = 40;
constexpr size_t GUID_TEXT_CHARS = 36;  // without braces
constexpr size_t MAX_ATTRIBUTE_DIGITS = 8;

// The blanks that separate fields; '\r' makes CRLF files read as LF ones.
bool IsBlank(char C) { return C == ' ' || C == '\t' || C == '\r' || C == '\v' || C == '\f'; }

int HexDigit(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

size_t SplitFields(const char *Line, size_t Length, Span (&Fields)[MAX_FIELDS]) {
  size_t Count = 0;
  size_t At = 0;
  while (Count < MAX_FIELDS) {
    while (At < Length && IsBlank(Line[At])) ++At;
    if (At == Length) break;
    const size_t Start = At;
    while (At < Length && !IsBlank(Line[At])) ++At;
    Fields[Count++] = Span{Line + Start, At - Start};
  }
  return Count;
}

// Hex digits into a number of at most 32 bits.
bool ParseHex(const char *Digits, size_t Count, UINT32 &Out) {
  if (Count == 0 || Count > 8) return false;
  UINT32 Value = 0;
  for (size_t I = 0; I < Count; ++I) {
    const int Digit = HexDigit(Digits[I]);
    if (Digit < 0) return false;
    Value = Value << 4 | static_cast<UINT32>(Digit);
  }
  Out = Value;
  return true;
}

// XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX, with or without braces, any case.
bool ParseGuid(Span Field, EFI_GUID &Out) {
  const char *Text = Field.Begin;
  size_t Length = Field.Length;
  if (Length == GUID_TEXT_CHARS + 2 && Text[0] == '{' && Text[Length - 1] == '}') {
    ++Text;
    Length -= 2;
  }
  if (Length != GUID_TEXT_CHARS) return false;
  if (Text[8] != '-' || Text[13] != '-' || Text[18] != '-' || Text[23] != '-') return false;
  UINT32 Data1 = 0, Data2 = 0, Data3 = 0, Pair = 0;
  if (!ParseHex(Text, 8, Data1) || !ParseHex(Text + 9, 4, Data2) || !ParseHex(Text + 14, 4, Data3)) return false;
  Out.Data1 = Data1;
  Out.Data2 = static_cast<UINT16>(Data2);
  Out.Data3 = static_cast<UINT16>(Data3);
  // Data4: two bytes before the last dash, six after it.
  static constexpr size_t BYTE_AT[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (size_t I = 0; I < 8; ++I) {
    if (!ParseHex(Text + BYTE_AT[I], 2, Pair)) return false;
    Out.Data4[I] = static_cast<UINT8>(Pair);
  }
  return true;
}

bool ParseAttributes(Span Field, UINT32 &Out) {
  const char *Digits = Field.Begin;
  size_t Count = Field.Length;
  if (Count > 2 && Digits[0] == '0' && (Digits[1] == 'x' || Digits[1] == 'X')) {
    Digits += 2;
    Count -= 2;
  }
  return Count <= MAX_ATTRIBUTE_DIGITS && ParseHex(Digits, Count, Out);
}

VariableStoreError DecodeName(Span Field, const VariableStoreBuffers &Buffers) {
  for (size_t I = 0; I < Field.Length; ++I) {
    const auto C = static_cast<unsigned char>(Field.Begin[I]);
    if (C < 0x21 || C > 0x7E) return VariableStoreError::BadName;
  }
  if (Field.Length > VARIABLE_STORE_MAX_NAME || Field.Length >= Buffers.NameUnits)
    return VariableStoreError::NameTooLong;
  for (size_t I = 0; I < Field.Length; ++I) Buffers.Name[I] = static_cast<CHAR16>(Field.Begin[I]);
  Buffers.Name[Field.Length] = 0;
  return VariableStoreError::None;
}

// "-" stands for no data.
VariableStoreError DecodeData(Span Field, const VariableStoreBuffers &Buffers, size_t &Size) {
  Size = 0;
  if (Field.Length == 1 && Field.Begin[0] == '-') return VariableStoreError::None;
  if (Field.Length % 2 != 0) return VariableStoreError::BadData;
  const size_t Bytes = Field.Length / 2;
  if (Bytes > VARIABLE_STORE_MAX_DATA || Bytes > Buffers.DataBytes) return VariableStoreError::DataTooLong;
  for (size_t I = 0; I < Bytes; ++I) {
    const int High = HexDigit(Field.Begin[2 * I]), Low = HexDigit(Field.Begin[2 * I + 1]);
    if (High < 0 || Low < 0) return VariableStoreError::BadData;
    Buffers.Data[I] = static_cast<UINT8>(High << 4 | Low);
  }
  Size = Bytes;
  return VariableStoreError::None;
}

// Decodes one line. A blank or comment line leaves Skip set.
VariableStoreResult ReadLine(Span Line, const VariableStoreBuffers &Buffers, StoreVariable &Out, bool &Skip) {
  VariableStoreResult Result{VariableStoreError::None, Out.Line, nullptr, 0};
  auto Fail = [&Result](VariableStoreError Error, const Span *Field = nullptr) {
    Result.Error = Error;
    if (Field != nullptr) {
      Result.Field = Field->Begin;
      Result.FieldLength = Field->Length;
    }
    return Result;
  };
  Skip = false;
  if (Line.Length > VARIABLE_STORE_MAX_LINE) return Fail(VariableStoreError::LineTooLong);
  Span Fields[MAX_FIELDS];
  const size_t Count = SplitFields(Line.Begin, Line.Length, Fields);
  if (Count == 0 || Fields[0].Begin[0] == '#') {
    Skip = true;
    return Result;
  }
  if (Count < 4) return Fail(VariableStoreError::MissingFields);
  if (Count > 4) return Fail(VariableStoreError::ExtraText);

  const VariableStoreError NameError = DecodeName(Fields[0], Buffers);
  if (NameError != VariableStoreError::None) return Fail(NameError);
  if (!ParseGuid(Fields[1], Out.Guid)) return Fail(VariableStoreError::BadGuid, &Fields[1]);
  if (!ParseAttributes(Fields[2], Out.Attributes)) return Fail(VariableStoreError::BadAttributes, &Fields[2]);
  const VariableStoreError DataError = DecodeData(Fields[3], Buffers, Out.DataSize);
  if (DataError != VariableStoreError::None) return Fail(DataError);
  Out.Name = Buffers.Name;
  Out.NameLength = Fields[0].Length;
  Out.Data = Buffers.Data;
  return Result;
}

// Appends to a fixed buffer, dropping what does not fit.
class TextSink {
 public:
  TextSink(char *Out, size_t Size) : Out(Out), Size(Size) {}
  void Put(char C) {
    if (Used + 1 < Size) Out[Used++] = C;
  }
  void Put(const char *Text) {
    while (*Text != '\0') Put(*Text++);
  }
  void Number(size_t Value) {
    char Digits[20];
    size_t Count = 0;
    do {
      Digits[Count++] = static_cast<char>('0' + Value % 10);
      Value /= 10;
    } while (Value != 0);
    while (Count > 0) Put(Digits[--Count]);
  }
  void Quoted(const char *Field, size_t Length) {
    Put('\'');
    for (size_t I = 0; I < Length && I < QUOTED_FIELD_CHARS; ++I) {
      const auto C = static_cast<unsigned char>(Field[I]);
      Put(C >= 0x20 && C <= 0x7E ? static_cast<char>(C) : '?');
    }
    if (Length > QUOTED_FIELD_CHARS) Put("...");
    Put('\'');
  }
  size_t Finish() {
    if (Size > 0) Out[Used] = '\0';
    return Used;
  }

 private:
  char *Out;
  size_t Size;
  size_t Used = 0;
};

}  // namespace

VariableStoreResult ReadVariableStore(const char *Text, size_t Length, const VariableStoreBuffers &Buffers,
                                      StoreVariableVisitor Visit, void *Context) {
  StoreVariable Variable{};
  for (size_t Start = 0; Start < Length;) {
    size_t End = Start;
    while (End < Length && Text[End] != '\n') ++End;
    ++Variable.Line;
    bool Skip = false;
    const VariableStoreResult Result = ReadLine(Span{Text + Start, End - Start}, Buffers, Variable, Skip);
    if (Result.Error != VariableStoreError::None) return Result;
    if (!Skip && Visit != nullptr) Visit(Context, Variable);
    Start = End < Length ? End + 1 : End;
  }
  return VariableStoreResult{VariableStoreError::None, Variable.Line, nullptr, 0};
}

size_t DescribeVariableStoreError(const VariableStoreResult &Result, char *Out, size_t Size) {
  TextSink Text(Out, Size);
  Text.Put("line ");
  Text.Number(Result.Line);
  Text.Put(": ");
  switch (Result.Error) {
    case VariableStoreError::None: Text.Put("no error"); break;
    case VariableStoreError::LineTooLong:
      Text.Put("the line is longer than ");
      Text.Number(VARIABLE_STORE_MAX_LINE);
      Text.Put(" characters");
      break;
    case VariableStoreError::MissingFields: Text.Put("expected NAME GUID ATTRIBUTES DATA"); break;
    case VariableStoreError::ExtraText: Text.Put("unexpected text after the data"); break;
    case VariableStoreError::BadName: Text.Put("variable names are printable ASCII"); break;
    case VariableStoreError::NameTooLong:
      Text.Put("the variable name is longer than ");
      Text.Number(VARIABLE_STORE_MAX_NAME);
      Text.Put(" characters");
      break;
    case VariableStoreError::BadGuid:
      Text.Put("bad GUID ");
      Text.Quoted(Result.Field, Result.FieldLength);
      break;
    case VariableStoreError::BadAttributes:
      Text.Put("bad attributes ");
      Text.Quoted(Result.Field, Result.FieldLength);
      break;
    case VariableStoreError::BadData: Text.Put("data is not an even number of hex digits"); break;
    case VariableStoreError::DataTooLong:
      Text.Put("the data is longer than ");
      Text.Number(VARIABLE_STORE_MAX_DATA);
      Text.Put(" bytes");
      break;
  }
  return Text.Finish();
}

}  // namespace variablefile

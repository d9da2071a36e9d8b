#include "client/console_writer.h"

CHAR16 WideUnit(const CHAR16 *Wide, UINT32 Index) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Wide) + 2 * static_cast<UINTN>(Index);
  return static_cast<CHAR16>(Bytes[0] | (Bytes[1] << 8));
}

UINT32 WideLength(const CHAR16 *Wide) {
  UINT32 Length = 0;
  while (Wide != nullptr && WideUnit(Wide, Length) != 0) ++Length;
  return Length;
}

void ConsoleWriter::Put(CHAR16 Unit) {
  Pending[Used++] = Unit;
  if (Used == CHUNK) Flush();
}

void ConsoleWriter::Flush() {
  if (Used == 0) return;
  Pending[Used] = 0;
  if (Out != nullptr) Out->OutputString(Out, Pending);
  Used = 0;
}

ConsoleWriter &ConsoleWriter::Text(const char *Ascii) {
  for (; Ascii != nullptr && *Ascii != '\0'; ++Ascii) Put(static_cast<UINT8>(*Ascii));
  return *this;
}

ConsoleWriter &ConsoleWriter::Unsigned(UINT64 Value) {
  char Digits[24];
  UINT32 Count = 0;
  do {
    Digits[Count++] = static_cast<char>('0' + Value % 10);
    Value /= 10;
  } while (Value != 0);
  while (Count > 0) Put(static_cast<UINT8>(Digits[--Count]));
  return *this;
}

ConsoleWriter &ConsoleWriter::Hex(UINT64 Value, UINT32 Digits) {
  static const char HexDigits[] = "0123456789ABCDEF";
  for (UINT32 Index = Digits; Index > 0; --Index) Put(static_cast<UINT8>(HexDigits[(Value >> (4 * (Index - 1))) & 0xF]));
  return *this;
}

ConsoleWriter &ConsoleWriter::Escaped(const CHAR16 *Wide, UINT32 Length) {
  for (UINT32 Index = 0; Index < Length; ++Index) {
    const CHAR16 Unit = WideUnit(Wide, Index);
    if (Unit >= 0x20 && Unit < 0x7F && Unit != '"' && Unit != '\\') {
      Put(Unit);
    } else {
      Text("\\u").Hex(Unit, 4);
    }
  }
  return *this;
}

ConsoleWriter &ConsoleWriter::EscapedBytes(const char *Bytes, UINTN Length) {
  for (UINTN Index = 0; Index < Length; ++Index) {
    const UINT8 Byte = static_cast<UINT8>(Bytes[Index]);
    if (Byte >= 0x20 && Byte < 0x7F && Byte != '"' && Byte != '\\') {
      Put(Byte);
    } else {
      Text("\\u").Hex(Byte, 4);
    }
  }
  return *this;
}

ConsoleWriter &ConsoleWriter::QuotedBytes(const char *Bytes, UINTN Length) {
  Put('"');
  EscapedBytes(Bytes, Length);
  Put('"');
  return *this;
}

ConsoleWriter &ConsoleWriter::Quoted(const CHAR16 *Wide, UINT32 Length) {
  if (Wide == nullptr) return Text("<none>");
  return Text("\"").Escaped(Wide, Length).Text("\"");
}

ConsoleWriter &ConsoleWriter::QuotedZ(const CHAR16 *Wide) { return Quoted(Wide, WideLength(Wide)); }

ConsoleWriter &ConsoleWriter::EndLine() {
  Put('\r');
  Put('\n');
  return *this;
}

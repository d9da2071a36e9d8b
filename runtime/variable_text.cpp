// Text classification of variable data (see variable_text.h).
#include "runtime/variable_text.h"

namespace crt::detail {

namespace {

bool IsPrintableAscii(unsigned Value) { return Value >= 0x20 && Value <= 0x7E; }

size_t DecodeWide(const UINT8 *Data, size_t Size, char *Out) {
  if (Size % 2 != 0) return 0;
  size_t Units = Size / 2;
  if (Units > 0 && Data[Size - 2] == 0 && Data[Size - 1] == 0) --Units;
  for (size_t I = 0; I < Units; ++I) {
    unsigned Unit = Data[2 * I] | (static_cast<unsigned>(Data[2 * I + 1]) << 8);
    if (!IsPrintableAscii(Unit)) return 0;
    Out[I] = static_cast<char>(Unit);
  }
  Out[Units] = '\0';
  return Units;
}

size_t DecodeNarrow(const UINT8 *Data, size_t Size, char *Out) {
  size_t Length = Size;
  if (Length > 0 && Data[Length - 1] == 0) --Length;
  for (size_t I = 0; I < Length; ++I) {
    if (!IsPrintableAscii(Data[I])) return 0;
    Out[I] = static_cast<char>(Data[I]);
  }
  Out[Length] = '\0';
  return Length;
}

}  // namespace

size_t DecodeVariableText(const UINT8 *Data, size_t Size, char *Out) {
  Out[0] = '\0';
  if (Data == nullptr || Size == 0) return 0;
  // UCS-2 first: "A" as UCS-2 (41 00) also reads as 8-bit "A" plus NUL, the
  // same text, but longer UCS-2 text has NULs inside that 8-bit refuses.
  size_t Length = DecodeWide(Data, Size, Out);
  if (Length > 0) return Length;
  Length = DecodeNarrow(Data, Size, Out);
  if (Length == 0) Out[0] = '\0';
  return Length;
}

bool NarrowVariableName(const CHAR16 *Name, size_t MaxUnits, char *Out) {
  for (size_t I = 0; I < MaxUnits; ++I) {
    if (Name[I] > 0xFF) return false;
    Out[I] = static_cast<char>(Name[I]);
    if (Name[I] == 0) return I > 0;
  }
  return false;
}

}  // namespace crt::detail

// Little-endian fields at any address: nothing in an HII export is aligned,
// so every field is written and read byte by byte.
#pragma once

#include "runtime/uefi.h"

namespace hiibuild {

inline void PutLe16(UINT8 *At, UINT16 Value) {
  At[0] = static_cast<UINT8>(Value);
  At[1] = static_cast<UINT8>(Value >> 8);
}

inline void PutLe32(UINT8 *At, UINT32 Value) {
  for (size_t I = 0; I < 4; ++I) At[I] = static_cast<UINT8>(Value >> (8 * I));
}

inline UINT16 GetLe16(const UINT8 *At) { return static_cast<UINT16>(At[0] | (At[1] << 8)); }

inline UINT32 GetLe32(const UINT8 *At) {
  UINT32 Value = 0;
  for (size_t I = 0; I < 4; ++I) Value |= static_cast<UINT32>(At[I]) << (8 * I);
  return Value;
}

// Writes fields one after another into [At, End). A write that would pass
// End is dropped and remembered, so a size computed wrongly shows up as
// Overran() instead of a write outside the block.
class ByteCursor {
 public:
  ByteCursor(UINT8 *At, UINT8 *End) : At(At), End(End) {}

  ByteCursor &U8(UINT8 Value) {
    if (Room(1)) *At++ = Value;
    return *this;
  }
  ByteCursor &U16(UINT16 Value) {
    if (Room(2)) PutLe16(At, Value), At += 2;
    return *this;
  }
  ByteCursor &U32(UINT32 Value) {
    if (Room(4)) PutLe32(At, Value), At += 4;
    return *this;
  }
  ByteCursor &U64(UINT64 Value) {
    return U32(static_cast<UINT32>(Value)).U32(static_cast<UINT32>(Value >> 32));
  }
  // A GUID as firmware stores it: three little-endian fields, then 8 bytes.
  ByteCursor &Guid(const EFI_GUID &Value) {
    U32(Value.Data1).U16(Value.Data2).U16(Value.Data3);
    for (UINT8 Byte : Value.Data4) U8(Byte);
    return *this;
  }
  ByteCursor &Bytes(const UINT8 *Data, size_t Count) {
    if (!Room(Count)) return *this;
    for (size_t I = 0; I < Count; ++I) At[I] = Data[I];
    At += Count;
    return *this;
  }
  // UCS-2 text and a 16-bit NUL.
  ByteCursor &WideZ(const CHAR16 *Units, size_t Length) {
    for (size_t I = 0; I < Length; ++I) U16(Units[I]);
    return U16(0);
  }
  // 8-bit text and a NUL.
  ByteCursor &AsciiZ(const char *Text, size_t Length) {
    for (size_t I = 0; I < Length; ++I) U8(static_cast<UINT8>(Text[I]));
    return U8(0);
  }

  bool Overran() const { return Overrun; }
  UINT8 *Position() const { return At; }

 private:
  bool Room(size_t Count) {
    if (Overrun || static_cast<size_t>(End - At) < Count) {
      Overrun = true;
      return false;
    }
    return true;
  }

  UINT8 *At;
  UINT8 *End;
  bool Overrun = false;
};

}  // namespace hiibuild

// Bounded reading of firmware data: package lists, IFR, string blocks and
// Config Routing answers are untrusted, so every read goes through a span
// that knows where its bytes end. Positions are 64-bit offsets, so adding a
// 32-bit length to one can never wrap; fields are assembled byte by byte
// because nothing in a package list is aligned.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

struct ByteView {
  const UINT8 *Data = nullptr;
  UINT64 Size = 0;

  bool Holds(UINT64 Offset, UINT64 Length) const { return Offset <= Size && Length <= Size - Offset; }
  // The part [Offset, Offset + Length); empty when it does not lie inside.
  ByteView Part(UINT64 Offset, UINT64 Length) const {
    if (!Holds(Offset, Length)) return ByteView{};
    return ByteView{Data + Offset, Length};
  }
  UINT8 U8(UINT64 Offset) const { return Data[Offset]; }
  UINT16 U16(UINT64 Offset) const { return static_cast<UINT16>(Data[Offset] | (Data[Offset + 1] << 8)); }
  UINT32 U32(UINT64 Offset) const {
    return static_cast<UINT32>(U16(Offset)) | (static_cast<UINT32>(U16(Offset + 2)) << 16);
  }
  UINT64 U64(UINT64 Offset) const {
    return static_cast<UINT64>(U32(Offset)) | (static_cast<UINT64>(U32(Offset + 4)) << 32);
  }
  // Width bytes (1, 2, 4 or 8) little-endian.
  UINT64 Sized(UINT64 Offset, UINT32 Width) const {
    UINT64 Value = 0;
    for (UINT32 Index = 0; Index < Width; ++Index) Value |= static_cast<UINT64>(Data[Offset + Index]) << (8 * Index);
    return Value;
  }
  void Guid(UINT64 Offset, EFI_GUID &Out) const;
};

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B);

}  // namespace hiicompat

// Bounded, byte-wise access to the HII export.
//
// The export is firmware data and is treated as untrusted: every position is
// an offset from the start of the buffer, held in 64 bits so that adding a
// 32-bit offset and a 32-bit length can never wrap, and every read is checked
// against the end of the region it belongs to before it is made. Fields are
// assembled byte by byte because nothing in the export is aligned.
#pragma once

#include "runtime/uefi.h"

// A region of the export: [Start, End) as offsets from Base.
struct ExportSpan {
  const UINT8 *Base;
  UINT64 Start;
  UINT64 End;

  bool Holds(UINT64 Position, UINT64 Length) const {
    return Position >= Start && Position <= End && Length <= End - Position;
  }
  const UINT8 *At(UINT64 Position) const { return Base + Position; }
};

inline UINT16 Le16(const UINT8 *Bytes) {
  return static_cast<UINT16>(Bytes[0] | (Bytes[1] << 8));
}

inline UINT32 Le32(const UINT8 *Bytes) {
  return static_cast<UINT32>(Bytes[0]) | (static_cast<UINT32>(Bytes[1]) << 8) |
         (static_cast<UINT32>(Bytes[2]) << 16) | (static_cast<UINT32>(Bytes[3]) << 24);
}

// The number of CHAR16 units before the NUL of the wide text at Position, if
// that NUL lies inside Span and the text has at most MaxUnits units.
[[nodiscard]] inline bool WideTextLength(const ExportSpan &Span, UINT64 Position, UINT64 MaxUnits,
                                         UINT64 *Units) {
  for (UINT64 Count = 0; Count <= MaxUnits; ++Count) {
    UINT64 Unit = Position + 2 * Count;
    if (!Span.Holds(Unit, 2)) return false;
    if (Le16(Span.At(Unit)) == 0) {
      *Units = Count;
      return true;
    }
  }
  return false;
}

// Byte-wise comparison of a GUID in the export with one of ours.
inline bool GuidBytesEqual(const UINT8 *Bytes, const EFI_GUID &Guid) {
  const auto *Ours = reinterpret_cast<const UINT8 *>(&Guid);
  for (UINTN Index = 0; Index < sizeof(EFI_GUID); ++Index) {
    if (Bytes[Index] != Ours[Index]) return false;
  }
  return true;
}

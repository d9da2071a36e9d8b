#include "hiibuild/pack_encoder.h"

#include "hiibuild/little_endian.h"

namespace hiibuild {

namespace {

// Bytes of a NUL-terminated wide text of Length units, added to Total;
// false when the sum leaves 32 bits.
bool AddWide(UINT64 &Total, size_t Length) {
  if (Length > 0xFFFFFFFFu) return false;
  Total += 2 * static_cast<UINT64>(Length) + 2;
  return Total <= 0xFFFFFFFFu;
}

bool Missing(const WideText &Text) { return Text.Units == nullptr && Text.Length != 0; }

// Writes a pack of Size bytes through Fill, or nothing.
template <class Filler>
BuildStatus AppendPack(ByteBuffer &Out, UINT64 Size, Filler &&Fill) {
  if (Size > 0xFFFFFFFFu) return BuildStatus::TooLong;
  const size_t Start = Out.Size();
  UINT8 *At = Out.Extend(static_cast<size_t>(Size));
  if (At == nullptr) return BuildStatus::OutOfMemory;
  ByteCursor Cursor(At, At + Size);
  Fill(Cursor);
  if (Cursor.Overran() || Cursor.Position() != At + Size) {
    Out.Truncate(Start);
    return BuildStatus::InvalidArgument;
  }
  return BuildStatus::Success;
}

}  // namespace

BuildStatus WriteStringPack(ByteBuffer &Out, const StringPackParts &Pack) {
  if (Missing(Pack.Language) || Missing(Pack.PrintableName) ||
      (Pack.Strings == nullptr && Pack.TokenCount != 0))
    return BuildStatus::InvalidArgument;
  if (Pack.TokenCount > (0xFFFFFFFFu - sizeof(HII_STRING_PACK_HEADER)) / 4) return BuildStatus::TooLong;

  const UINT64 BodyStart = sizeof(HII_STRING_PACK_HEADER) + 4 * static_cast<UINT64>(Pack.TokenCount);
  UINT64 Size = BodyStart;
  if (!AddWide(Size, Pack.Language.Length)) return BuildStatus::TooLong;
  const UINT64 PrintableAt = Size;
  if (!AddWide(Size, Pack.PrintableName.Length)) return BuildStatus::TooLong;
  for (size_t Token = 0; Token < Pack.TokenCount; ++Token) {
    const WideText &Text = Pack.Strings[Token];
    if (Text.Units == nullptr) continue;
    if (!AddWide(Size, Text.Length)) return BuildStatus::TooLong;
  }

  return AppendPack(Out, Size, [&](ByteCursor &C) {
    C.U32(static_cast<UINT32>(Size))
        .U16(HII_STRING_PACK)
        .U32(static_cast<UINT32>(BodyStart))
        .U32(static_cast<UINT32>(PrintableAt))
        .U32(static_cast<UINT32>(Pack.TokenCount))
        .U32(0);  // attributes
    UINT64 TextAt = PrintableAt + 2 * static_cast<UINT64>(Pack.PrintableName.Length) + 2;
    for (size_t Token = 0; Token < Pack.TokenCount; ++Token) {
      const WideText &Text = Pack.Strings[Token];
      if (Text.Units == nullptr) {
        C.U32(STRING_ABSENT);
        continue;
      }
      C.U32(static_cast<UINT32>(TextAt));
      TextAt += 2 * static_cast<UINT64>(Text.Length) + 2;
    }
    C.WideZ(Pack.Language.Units, Pack.Language.Length);
    C.WideZ(Pack.PrintableName.Units, Pack.PrintableName.Length);
    for (size_t Token = 0; Token < Pack.TokenCount; ++Token) {
      const WideText &Text = Pack.Strings[Token];
      if (Text.Units != nullptr) C.WideZ(Text.Units, Text.Length);
    }
  });
}

BuildStatus WriteVariablePack(ByteBuffer &Out, const EFI_GUID &Guid, UINT16 VarStoreId, WideText Name) {
  if (Missing(Name)) return BuildStatus::InvalidArgument;
  UINT64 NameBytes = 0;
  if (!AddWide(NameBytes, Name.Length)) return BuildStatus::TooLong;
  const UINT64 Size = sizeof(HII_VARIABLE_PACK_HEADER) + NameBytes;
  return AppendPack(Out, Size, [&](ByteCursor &C) {
    C.U32(static_cast<UINT32>(Size))
        .U16(HII_VARIABLE_PACK)
        .Guid(Guid)
        .U32(static_cast<UINT32>(NameBytes))
        .U16(VarStoreId)
        .WideZ(Name.Units, Name.Length);
  });
}

BuildStatus WriteIfrPack(ByteBuffer &Out, ByteSpan Code) {
  if (Code.Data == nullptr && Code.Size != 0) return BuildStatus::InvalidArgument;
  if (Code.Size > 0xFFFFFFFFu - sizeof(HII_PACK_HEADER)) return BuildStatus::TooLong;
  const UINT64 Size = sizeof(HII_PACK_HEADER) + Code.Size;
  return AppendPack(Out, Size, [&](ByteCursor &C) {
    C.U32(static_cast<UINT32>(Size)).U16(HII_IFR_PACK).Bytes(Code.Data, Code.Size);
  });
}

}  // namespace hiibuild

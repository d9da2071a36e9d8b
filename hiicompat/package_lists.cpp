#include "hiicompat/package_lists.h"

#include "uefi/hii_packages.h"

namespace hiicompat {

namespace {

constexpr UINT64 LIST_HEADER = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
constexpr UINT8 END_ENTIRE = 0xFF;

ByteView DevicePathOf(ByteView List) {
  PackageWalk Packages(List);
  ByteView Package;
  UINT8 Type = 0;
  while (Packages.Next(Package, Type)) {
    if (Type != EFI_HII_PACKAGE_DEVICE_PATH) continue;
    const ByteView Path = Package.Part(EFI_HII_PACKAGE_HEADER_SIZE, Package.Size - EFI_HII_PACKAGE_HEADER_SIZE);
    const UINT64 Length = DevicePathLength(Path);
    return Length == 0 ? ByteView{} : Path.Part(0, Length);
  }
  return ByteView{};
}

}  // namespace

UINT64 DevicePathLength(ByteView Path) {
  for (UINT64 At = 0; Path.Holds(At, 4);) {
    const UINT16 Length = Path.U16(At + 2);
    if (Length < 4 || !Path.Holds(At, Length)) return 0;
    if (Path.U8(At) == END_DEVICE_PATH_TYPE && Path.U8(At + 1) == END_ENTIRE) return At + Length;
    At += Length;
  }
  return 0;
}

bool PackageListWalk::Next(PackageListView &Out) {
  if (!Export.Holds(Cursor, LIST_HEADER)) return false;
  const UINT32 Length = Export.U32(Cursor + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength));
  if (Length < LIST_HEADER || !Export.Holds(Cursor, Length)) return false;
  Out.Bytes = Export.Part(Cursor, Length);
  Export.Guid(Cursor, Out.Guid);
  Out.DevicePath = DevicePathOf(Out.Bytes);
  Cursor += Length;
  return true;
}

bool PackageWalk::Next(ByteView &Package, UINT8 &Type) {
  if (!List.Holds(Cursor, EFI_HII_PACKAGE_HEADER_SIZE)) return false;
  const UINT32 Length = HiiPackageLengthAt(List.Data + Cursor);
  Type = HiiPackageTypeAt(List.Data + Cursor);
  if (Type == EFI_HII_PACKAGE_END || Length < EFI_HII_PACKAGE_HEADER_SIZE || !List.Holds(Cursor, Length)) return false;
  Package = List.Part(Cursor, Length);
  Cursor += Length;
  return true;
}

}  // namespace hiicompat

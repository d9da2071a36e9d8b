// Walking the UEFI HII database's export (ExportPackageLists): package
// lists one after another, the packages of each, and the device path of
// the driver that owns a list. The export is firmware data: a list or
// package whose length does not fit what holds it ends its walk.
#pragma once

#include "hiicompat/byte_span.h"
#include "uefi/hii_packages.h"

namespace hiicompat {

struct PackageListView {
  ByteView Bytes;  // header and packages, as far as the list's length and the export agree
  EFI_GUID Guid;
  // The owner's device path (end node included), or empty when the list
  // has no device path package or its path is malformed.
  ByteView DevicePath;
};

// Package lists in export order.
class PackageListWalk {
 public:
  explicit PackageListWalk(ByteView Export) : Export(Export) {}
  // The next list; false when none follows or the next one's header or
  // length does not fit the export.
  bool Next(PackageListView &Out);

 private:
  ByteView Export;
  UINT64 Cursor = 0;
};

// Packages of one list, up to its end package.
class PackageWalk {
 public:
  explicit PackageWalk(ByteView List) : List(List), Cursor(sizeof(EFI_HII_PACKAGE_LIST_HEADER)) {}
  // The next package (header included) and its type; false at the end
  // package or when a package's length does not fit the list.
  bool Next(ByteView &Package, UINT8 &Type);

 private:
  ByteView List;
  UINT64 Cursor;
};

// Bytes of the device path at Path up to and including its end-of-entire
// node, or 0 when no such node ends it inside Path.View.
UINT64 DevicePathLength(ByteView Path);

}  // namespace hiicompat

// The Framework export the driver reads, made from the UEFI HII database:
// one data table per form set (package lists in the database's order, form
// sets in their form packages' order), each with its string pack in the
// language string_table.h chooses, its variable packs and its translated
// IFR, behind the classic 18-byte export header.
#pragma once

#include "hiicompat/bridged_stores.h"
#include "hiicompat/translation_counts.h"

namespace hiicompat {

struct FrameworkExport {
  UINT8 *Bytes;  // runtime heap; nullptr until built
  UINTN Size;
  BridgedStoreList Stores;  // the buffer stores its variable packs name
  TranslationCounts Counts;

  void Release();  // frees the bytes and the stores
};

// Translates the package lists in UefiExport (an ExportPackageLists
// result). PlatformLang: the platform's language tag, or nullptr.
// EFI_SUCCESS; EFI_OUT_OF_RESOURCES; EFI_BAD_BUFFER_SIZE when the result
// does not fit the Framework's fields (more than 65,535 form sets). A
// malformed part of the input is translated as far as it can be read.
[[nodiscard]] EFI_STATUS TranslateDatabase(const UINT8 *UefiExport, UINTN UefiSize, const char *PlatformLang,
                                           FrameworkExport &Out);

// Takes the live database's export and translates it. EFI_NOT_READY when
// the image found no HII database, ExportPackageLists' failure, or
// TranslateDatabase's status.
[[nodiscard]] EFI_STATUS BuildFrameworkExport(FrameworkExport &Out);

}  // namespace hiicompat

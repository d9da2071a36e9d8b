// From a C file name to a volume handle and a path on that volume.
//
// Names may start with "fsN:" (N decimal, any letter case). A name without a
// volume lives on the volume the image was loaded from: with a leading
// separator from its root, else from the image's own folder. '/' becomes
// '\' (OVMF's FAT driver refuses '/') and runs of separators collapse to one.
#pragma once

#include "runtime/owners.h"
#include "runtime/uefi.h"

namespace crt::detail {

// Longest file name accepted from a caller, in characters.
constexpr size_t MAX_FILE_NAME = 1024;

struct ResolvedFileName {
  EFI_HANDLE Volume = nullptr;
  HeapPtr<CHAR16> Path;  // absolute on the volume: starts with '\'
};

// EFI_SUCCESS; EFI_INVALID_PARAMETER (nullptr, empty, longer than
// MAX_FILE_NAME, or a volume prefix other than fsN:); EFI_NOT_FOUND (no such
// volume, or no loaded-image information for a name without one);
// EFI_OUT_OF_RESOURCES.
[[nodiscard]] EFI_STATUS ResolveFileName(const char *Name, ResolvedFileName &Out);

// Recognises a volume prefix "fsN:" (N of 1 to MAX_VOLUME_DIGITS decimal
// digits, any letter case): Index is N and Rest points past the colon. A
// name without a colon has no prefix: true, Index SIZE_MAX, Rest = Name.
// False for any other text before a colon.
bool ParseVolumePrefix(const char *Name, size_t &Index, const char *&Rest);

// The folder part of an image's file path ("\tools\test.efi" gives
// "\tools"; no separator gives ""), on the heap; nullptr when the path holds
// no file-path node or memory ran out. Reads only within the path's nodes.
CHAR16 *ImageFolderOf(const EFI_DEVICE_PATH *ImagePath);

}  // namespace crt::detail

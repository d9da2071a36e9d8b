// RAII owners for the runtime's own resources: heap memory (runtime/owned.h)
// and open EFI_FILE_PROTOCOL handles. Release() hands ownership over.
#pragma once

#include "runtime/crt.h"
#include "runtime/owned.h"

namespace crt::detail {

using crt::HeapPtr;

class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(EFI_FILE_PROTOCOL *File) : File(File) {}
  ~FileHandle() { Reset(nullptr); }
  FileHandle(const FileHandle &) = delete;
  FileHandle &operator=(const FileHandle &) = delete;

  EFI_FILE_PROTOCOL *Get() const { return File; }
  EFI_FILE_PROTOCOL **Out() {
    Reset(nullptr);
    return &File;
  }
  EFI_FILE_PROTOCOL *Release() {
    EFI_FILE_PROTOCOL *Owned = File;
    File = nullptr;
    return Owned;
  }
  void Reset(EFI_FILE_PROTOCOL *NewFile) {
    if (File != nullptr) File->Close(File);
    File = NewFile;
  }

 private:
  EFI_FILE_PROTOCOL *File = nullptr;
};

}  // namespace crt::detail

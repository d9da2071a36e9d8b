// RAII owners for the runtime's own resources: heap memory and open
// EFI_FILE_PROTOCOL handles. Release() hands ownership over.
#pragma once

#include "runtime/crt.h"

namespace crt::detail {

template <class T> class HeapPtr {
 public:
  HeapPtr() = default;
  explicit HeapPtr(T *Block) : Block(Block) {}
  ~HeapPtr() { crt::free(Block); }
  HeapPtr(const HeapPtr &) = delete;
  HeapPtr &operator=(const HeapPtr &) = delete;

  T *Get() const { return Block; }
  T *Release() {
    T *Owned = Block;
    Block = nullptr;
    return Owned;
  }
  void Reset(T *NewBlock) {
    crt::free(Block);
    Block = NewBlock;
  }
  explicit operator bool() const { return Block != nullptr; }

 private:
  T *Block = nullptr;
};

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

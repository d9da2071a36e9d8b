#include "hiiprovider/own_files.h"

#include "runtime/crt.h"
#include "runtime/file_open.h"
#include "runtime/owners.h"

namespace hiiprovider {

namespace {

// SetPosition to this moves to the end of the file.
constexpr UINT64 END_OF_FILE_POSITION = ~static_cast<UINT64>(0);

[[nodiscard]] EFI_STATUS MeasureFile(EFI_FILE_PROTOCOL *File, UINT64 &Size) {
  EFI_STATUS Status = File->SetPosition(File, END_OF_FILE_POSITION);
  if (Status == EFI_SUCCESS) Status = File->GetPosition(File, &Size);
  if (Status == EFI_SUCCESS) Status = File->SetPosition(File, 0);
  return Status;
}

}  // namespace

EFI_STATUS ReadOwnFile(const char *Name, size_t MaxBytes, FileBytes &Out) {
  Out.Bytes.Reset(nullptr);
  Out.Size = 0;
  crt::detail::FileHandle File;
  EFI_STATUS Status = crt::detail::OpenFile(Name, crt::detail::OpenMode::Read, File.Out());
  if (Status != EFI_SUCCESS) return Status;
  UINT64 Size = 0;
  Status = MeasureFile(File.Get(), Size);
  if (Status != EFI_SUCCESS) return Status;
  if (Size > MaxBytes) return EFI_BAD_BUFFER_SIZE;

  crt::HeapPtr<UINT8> Bytes(static_cast<UINT8 *>(crt::malloc(Size > 0 ? Size : 1)));
  if (!Bytes) return EFI_OUT_OF_RESOURCES;
  // A read may deliver less than asked; each round either advances or ends.
  for (UINT64 Have = 0; Have < Size;) {
    UINTN Chunk = Size - Have;
    Status = File.Get()->Read(File.Get(), &Chunk, Bytes.Get() + Have);
    if (Status != EFI_SUCCESS) return Status;
    if (Chunk == 0) return EFI_END_OF_FILE;
    Have += Chunk;
  }
  Out.Bytes.Reset(Bytes.Release());
  Out.Size = Size;
  return EFI_SUCCESS;
}

}  // namespace hiiprovider

#include "client/variable_snapshot.h"

#include "client/ini_files.h"
#include "client/record_report.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::JoinIniFilePath;

namespace {

// Variables are read into a buffer of this size at first; a larger one is
// read again at the size the firmware names.
constexpr UINTN FIRST_READ_BYTES = 4096;

struct SnapshotWriter {
  crt::FILE *File;
  EFI_STATUS Status;
};

[[nodiscard]] EFI_STATUS ReadWhole(CHAR16 *Name, EFI_GUID *Guid, crt::HeapPtr<UINT8> &Data, UINTN &Size,
                                   UINT32 &Attributes) {
  EFI_RUNTIME_SERVICES *Runtime = crt::SystemTable()->RuntimeServices;
  Size = FIRST_READ_BYTES;
  Data.Reset(static_cast<UINT8 *>(crt::malloc(Size)));
  if (!Data) return EFI_OUT_OF_RESOURCES;
  EFI_STATUS Status = Runtime->GetVariable(Name, Guid, &Attributes, &Size, Data.Get());
  if (Status == EFI_BUFFER_TOO_SMALL) {
    Data.Reset(static_cast<UINT8 *>(crt::malloc(Size == 0 ? 1 : Size)));
    if (!Data) return EFI_OUT_OF_RESOURCES;
    Status = Runtime->GetVariable(Name, Guid, &Attributes, &Size, Data.Get());
  }
  return Status;
}

// One line: NAME GUID ATTRIBUTES DATA.
void BIOSCFG_EFIAPI WriteOne(VOID *Context, CONST CHAR16 *Name, CONST EFI_GUID *Guid) {
  auto &W = *static_cast<SnapshotWriter *>(Context);
  if (W.Status != EFI_SUCCESS) return;
  CHAR16 NameCopy[2048];
  UINTN Units = 0;
  for (; Name[Units] != 0; ++Units) {
    // The text format holds printable ASCII names without blanks only.
    if (Units + 1 >= 2048 || Name[Units] <= 0x20 || Name[Units] > 0x7E) {
      W.Status = EFI_UNSUPPORTED;
      return;
    }
    NameCopy[Units] = Name[Units];
  }
  NameCopy[Units] = 0;
  EFI_GUID Key = *Guid;
  crt::HeapPtr<UINT8> Data;
  UINTN Size = 0;
  UINT32 Attributes = 0;
  W.Status = ReadWhole(NameCopy, &Key, Data, Size, Attributes);
  if (W.Status != EFI_SUCCESS) return;
  for (UINTN Unit = 0; Unit < Units; ++Unit) (void)crt::fprintf(W.File, "%c", static_cast<char>(NameCopy[Unit]));
  (void)crt::fprintf(W.File, " {%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X} 0x%X ", Key.Data1, Key.Data2,
                     Key.Data3, Key.Data4[0], Key.Data4[1], Key.Data4[2], Key.Data4[3], Key.Data4[4], Key.Data4[5],
                     Key.Data4[6], Key.Data4[7], Attributes);
  if (Size == 0) (void)crt::fprintf(W.File, "-");
  for (UINTN Byte = 0; Byte < Size; ++Byte) (void)crt::fprintf(W.File, "%02X", Data.Get()[Byte]);
  (void)crt::fprintf(W.File, "\n");
}

}  // namespace

EFI_STATUS WriteVariableSnapshot(ToolContext &C, const char *Name) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!JoinIniFilePath(crt::getenv("TORVEL_PATH"), Name, Path)) return EFI_INVALID_PARAMETER;
  crt::OpenStream File(crt::fopen(Path, "wb"));
  if (File.Get() == nullptr) return EFI_ACCESS_DENIED;
  SnapshotWriter W{File.Get(), EFI_SUCCESS};
  (void)crt::fprintf(W.File, "# NAME GUID ATTRIBUTES DATA: the setup variables before a change\n");
  const EFI_STATUS Listed = C.Extensions->EnumerateVariables(C.Extensions, WriteOne, &W);
  if (Listed != EFI_SUCCESS) return Listed;
  return W.Status;
}

// Volume numbering and opening (see volumes.h).
#include "runtime/volumes.h"

#include "runtime/crt.h"
#include "runtime/owners.h"
#include "runtime/runtime_state.h"

namespace crt::detail {

namespace {

// More Simple File System handles than any machine has; a larger count from
// LocateHandle is treated as firmware nonsense.
constexpr size_t MAX_VOLUMES = 1024;

struct Volume {
  EFI_HANDLE Handle;
  const EFI_DEVICE_PATH *Path;
  size_t PathBytes;  // 0: no usable device path, sorts last
};

bool SortsBefore(const Volume &A, const Volume &B) {
  if (A.PathBytes == 0 || B.PathBytes == 0) return A.PathBytes != 0 && B.PathBytes == 0;
  return CompareDevicePaths(A.Path, A.PathBytes, B.Path, B.PathBytes) < 0;
}

// Stable insertion sort: there are a handful of volumes.
void SortVolumes(Volume *Volumes, size_t Count) {
  for (size_t I = 1; I < Count; ++I) {
    Volume Moving = Volumes[I];
    size_t J = I;
    for (; J > 0 && SortsBefore(Moving, Volumes[J - 1]); --J) Volumes[J] = Volumes[J - 1];
    Volumes[J] = Moving;
  }
}

}  // namespace

size_t DevicePathBytes(const EFI_DEVICE_PATH *Path) {
  if (Path == nullptr) return 0;
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Path);
  size_t Offset = 0;
  while (Offset + sizeof(EFI_DEVICE_PATH) <= MAX_DEVICE_PATH_BYTES) {
    const UINT8 *Node = Bytes + Offset;
    size_t NodeLength = Node[2] | (static_cast<size_t>(Node[3]) << 8);
    if (NodeLength < sizeof(EFI_DEVICE_PATH)) return 0;
    if (Node[0] == END_DEVICE_PATH_TYPE && Node[1] == END_ENTIRE_DEVICE_PATH_SUBTYPE) {
      return Offset + NodeLength <= MAX_DEVICE_PATH_BYTES ? Offset + NodeLength : 0;
    }
    Offset += NodeLength;
  }
  return 0;
}

int CompareDevicePaths(const EFI_DEVICE_PATH *A, size_t ABytes, const EFI_DEVICE_PATH *B, size_t BBytes) {
  int Order = memcmp(A, B, ABytes < BBytes ? ABytes : BBytes);
  if (Order != 0) return Order;
  return ABytes == BBytes ? 0 : (ABytes < BBytes ? -1 : 1);
}

EFI_HANDLE VolumeHandle(size_t Index) {
  EFI_BOOT_SERVICES *Services = BootServices();
  if (Services == nullptr) return nullptr;

  UINTN BufferSize = 0;
  EFI_STATUS Status = Services->LocateHandle(ByProtocol, &gEfiSimpleFileSystemProtocolGuid, nullptr, &BufferSize,
                                             nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL || BufferSize == 0 || BufferSize > MAX_VOLUMES * sizeof(EFI_HANDLE)) {
    return nullptr;
  }
  HeapPtr<EFI_HANDLE> Handles(static_cast<EFI_HANDLE *>(malloc(BufferSize)));
  if (!Handles) return nullptr;
  Status = Services->LocateHandle(ByProtocol, &gEfiSimpleFileSystemProtocolGuid, nullptr, &BufferSize,
                                  Handles.Get());
  if (EFI_ERROR(Status) || BufferSize > MAX_VOLUMES * sizeof(EFI_HANDLE)) return nullptr;
  size_t Count = BufferSize / sizeof(EFI_HANDLE);
  if (Index >= Count) return nullptr;

  HeapPtr<Volume> Volumes(static_cast<Volume *>(malloc(Count * sizeof(Volume))));
  if (!Volumes) return nullptr;
  for (size_t I = 0; I < Count; ++I) {
    EFI_DEVICE_PATH *Path = nullptr;
    Status = Services->HandleProtocol(Handles.Get()[I], &gEfiDevicePathProtocolGuid, reinterpret_cast<void **>(&Path));
    if (EFI_ERROR(Status)) Path = nullptr;
    Volumes.Get()[I] = Volume{Handles.Get()[I], Path, DevicePathBytes(Path)};
  }
  SortVolumes(Volumes.Get(), Count);
  return Volumes.Get()[Index].Handle;
}

EFI_STATUS OpenVolumeRoot(EFI_HANDLE Volume, EFI_FILE_PROTOCOL **Root) {
  *Root = nullptr;
  EFI_BOOT_SERVICES *Services = BootServices();
  if (Services == nullptr || Volume == nullptr) return EFI_UNSUPPORTED;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL *FileSystem = nullptr;
  EFI_STATUS Status = Services->HandleProtocol(Volume, &gEfiSimpleFileSystemProtocolGuid,
                                               reinterpret_cast<void **>(&FileSystem));
  if (EFI_ERROR(Status) || FileSystem == nullptr) return EFI_UNSUPPORTED;
  Status = FileSystem->OpenVolume(FileSystem, Root);
  if (EFI_ERROR(Status)) {
    *Root = nullptr;
    return Status;
  }
  return *Root != nullptr ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

}  // namespace crt::detail

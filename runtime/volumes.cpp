// Volume numbering and opening (see volumes.h).
#include "runtime/volumes.h"

#include "runtime/crt.h"
#include "runtime/runtime_state.h"

namespace crt::detail {

namespace {

// More Simple File System handles than any machine has; a larger count from
// LocateHandle is treated as firmware nonsense.
constexpr size_t MAX_VOLUMES = 1024;

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

namespace {

constinit EFI_GUID ShellProtocolGuid = EFI_SHELL_PROTOCOL_GUID;

// A block of pool memory straight from the boot services, freed on scope
// exit: NumberedVolume must not depend on the runtime having started.
class PoolBlock {
 public:
  PoolBlock(EFI_BOOT_SERVICES *Services, size_t Size) : Services(Services) {
    if (EFI_ERROR(Services->AllocatePool(EfiBootServicesData, Size, &Block))) Block = nullptr;
  }
  ~PoolBlock() {
    if (Block != nullptr) Services->FreePool(Block);
  }
  PoolBlock(const PoolBlock &) = delete;
  PoolBlock &operator=(const PoolBlock &) = delete;
  template <class T> T *As() const { return static_cast<T *>(Block); }

 private:
  EFI_BOOT_SERVICES *Services;
  void *Block = nullptr;
};

// "fsN:" into Name (room for MAX_VOLUME_DIGITS digits); false when Index
// has more digits.
bool MapName(size_t Index, CHAR16 (&Name)[MAX_VOLUME_DIGITS + 4]) {
  CHAR16 Digits[MAX_VOLUME_DIGITS];
  size_t Count = 0;
  do {
    if (Count == MAX_VOLUME_DIGITS) return false;
    Digits[Count++] = static_cast<CHAR16>('0' + Index % 10);
    Index /= 10;
  } while (Index != 0);
  size_t Length = 0;
  Name[Length++] = 'f';
  Name[Length++] = 's';
  while (Count > 0) Name[Length++] = Digits[--Count];
  Name[Length++] = ':';
  Name[Length] = 0;
  return true;
}

// The Shell's answer: the Simple File System handle whose device path is
// exactly the one the Shell maps the name to.
EFI_HANDLE VolumeFromShell(EFI_BOOT_SERVICES *Services, EFI_SHELL_PROTOCOL *Shell, size_t Index) {
  CHAR16 Name[MAX_VOLUME_DIGITS + 4];
  if (!MapName(Index, Name) || Shell->GetDevicePathFromMap == nullptr) return nullptr;
  const EFI_DEVICE_PATH *Mapped = Shell->GetDevicePathFromMap(Name);
  const size_t MappedBytes = DevicePathBytes(Mapped);
  if (MappedBytes == 0) return nullptr;
  auto *Remaining = const_cast<EFI_DEVICE_PATH *>(Mapped);
  EFI_HANDLE Volume = nullptr;
  if (Services->LocateDevicePath(&gEfiSimpleFileSystemProtocolGuid, &Remaining, &Volume) != EFI_SUCCESS) {
    return nullptr;
  }
  // Only a handle that matched the whole path is the mapped volume.
  const auto Consumed = static_cast<size_t>(reinterpret_cast<const UINT8 *>(Remaining) -
                                            reinterpret_cast<const UINT8 *>(Mapped));
  if (Consumed + sizeof(EFI_DEVICE_PATH) > MappedBytes) return nullptr;
  const auto *Node = reinterpret_cast<const UINT8 *>(Remaining);
  if (Node[0] != END_DEVICE_PATH_TYPE || Node[1] != END_ENTIRE_DEVICE_PATH_SUBTYPE) return nullptr;
  return Volume;
}

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

// Without a Shell: the Index-th volume in byte order of the device paths.
EFI_HANDLE VolumeByPathOrder(EFI_BOOT_SERVICES *Services, size_t Index) {
  UINTN BufferSize = 0;
  EFI_STATUS Status = Services->LocateHandle(ByProtocol, &gEfiSimpleFileSystemProtocolGuid, nullptr, &BufferSize,
                                             nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL || BufferSize == 0 || BufferSize > MAX_VOLUMES * sizeof(EFI_HANDLE)) {
    return nullptr;
  }
  PoolBlock Handles(Services, BufferSize);
  if (Handles.As<EFI_HANDLE>() == nullptr) return nullptr;
  Status = Services->LocateHandle(ByProtocol, &gEfiSimpleFileSystemProtocolGuid, nullptr, &BufferSize,
                                  Handles.As<EFI_HANDLE>());
  if (Status != EFI_SUCCESS || BufferSize > MAX_VOLUMES * sizeof(EFI_HANDLE)) return nullptr;
  const size_t Count = BufferSize / sizeof(EFI_HANDLE);
  if (Index >= Count) return nullptr;

  PoolBlock Volumes(Services, Count * sizeof(Volume));
  if (Volumes.As<Volume>() == nullptr) return nullptr;
  for (size_t I = 0; I < Count; ++I) {
    EFI_HANDLE Handle = Handles.As<EFI_HANDLE>()[I];
    EFI_DEVICE_PATH *Path = nullptr;
    if (Services->HandleProtocol(Handle, &gEfiDevicePathProtocolGuid, reinterpret_cast<void **>(&Path)) !=
        EFI_SUCCESS) {
      Path = nullptr;
    }
    Volumes.As<Volume>()[I] = Volume{Handle, Path, DevicePathBytes(Path)};
  }
  SortVolumes(Volumes.As<Volume>(), Count);
  return Volumes.As<Volume>()[Index].Handle;
}

}  // namespace

EFI_HANDLE NumberedVolume(EFI_BOOT_SERVICES *Services, size_t Index) {
  if (Services == nullptr) return nullptr;
  void *Shell = nullptr;
  const EFI_STATUS Status = Services->LocateProtocol(&ShellProtocolGuid, nullptr, &Shell);
  if (Status == EFI_SUCCESS && Shell != nullptr) {
    return VolumeFromShell(Services, static_cast<EFI_SHELL_PROTOCOL *>(Shell), Index);
  }
  // Numbered without a Shell only when there is none: any other failure
  // could hide a Shell whose numbering differs.
  if (Status != EFI_NOT_FOUND && Status != EFI_SUCCESS) return nullptr;
  return VolumeByPathOrder(Services, Index);
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

// A file's device path, as LoadImage wants it: the device path of the
// volume the name resolves to (the same resolution fopen uses), then one
// media file-path node with the path on that volume, then the end node.
#include "runtime/crt.h"
#include "runtime/file_names.h"
#include "runtime/runtime_state.h"
#include "runtime/volumes.h"

namespace crt {

namespace {

constexpr size_t NODE_HEADER_BYTES = 4;
constexpr size_t MAX_NODE_BYTES = 0xFFFF;

void WriteNodeHeader(UINT8 *Node, UINT8 Type, UINT8 SubType, size_t Length) {
  Node[0] = Type;
  Node[1] = SubType;
  Node[2] = static_cast<UINT8>(Length & 0xFF);
  Node[3] = static_cast<UINT8>(Length >> 8);
}

}  // namespace

EFI_DEVICE_PATH *FileDevicePathOf(const char *Name) {
  detail::ResolvedFileName Resolved;
  if (EFI_ERROR(detail::ResolveFileName(Name, Resolved))) return nullptr;
  EFI_BOOT_SERVICES *Services = detail::BootServices();
  EFI_DEVICE_PATH *VolumePath = nullptr;
  if (EFI_ERROR(Services->HandleProtocol(Resolved.Volume, &gEfiDevicePathProtocolGuid,
                                         reinterpret_cast<void **>(&VolumePath)))) {
    return nullptr;
  }
  size_t VolumeBytes = detail::DevicePathBytes(VolumePath);
  if (VolumeBytes < NODE_HEADER_BYTES) return nullptr;
  VolumeBytes -= NODE_HEADER_BYTES;  // its end node is replaced

  size_t PathUnits = wcslen(Resolved.Path.Get()) + 1;
  size_t FileNodeBytes = NODE_HEADER_BYTES + PathUnits * sizeof(CHAR16);
  if (FileNodeBytes > MAX_NODE_BYTES) return nullptr;

  auto *Result = static_cast<UINT8 *>(malloc(VolumeBytes + FileNodeBytes + NODE_HEADER_BYTES));
  if (Result == nullptr) return nullptr;
  memcpy(Result, VolumePath, VolumeBytes);
  UINT8 *FileNode = Result + VolumeBytes;
  WriteNodeHeader(FileNode, MEDIA_DEVICE_PATH, MEDIA_FILEPATH_DP, FileNodeBytes);
  // Byte copy: the node's text need not be 2-byte aligned.
  memcpy(FileNode + NODE_HEADER_BYTES, Resolved.Path.Get(), PathUnits * sizeof(CHAR16));
  WriteNodeHeader(FileNode + FileNodeBytes, END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE,
                  NODE_HEADER_BYTES);
  return reinterpret_cast<EFI_DEVICE_PATH *>(Result);
}

void FreeDevicePath(EFI_DEVICE_PATH *Path) { free(Path); }

}  // namespace crt

#include "hiicompat/device_io.h"

#include "hiicompat/compat_state.h"
#include "runtime/crt.h"
#include "runtime/root_device.h"

namespace hiicompat {

namespace {

constexpr UINT8 END_ONLY_PATH[] = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0};
constinit EFI_GUID DeviceIoGuid = EFI_DEVICE_IO_PROTOCOL_GUID;
constinit EFI_GUID DevicePathGuid = DEVICE_PATH_PROTOCOL;
constinit EFI_GUID RootBridgeGuid = EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_GUID;

constexpr UINT32 MAX_PCI_BUS_HOPS = 256;
constexpr UINT8 PCI_HEADER_TYPE = 0x0E;
constexpr UINT8 PCI_SECONDARY_BUS = 0x19;
constexpr UINT8 PCI_SUBORDINATE_BUS = 0x1A;
constexpr UINT8 HEADER_TYPE_BRIDGE = 0x01;
constexpr UINT8 PCI_NODE_LENGTH = 6;
constexpr UINTN MAX_BRIDGE_PATH_BYTES = 4096;

EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *Bridge() { return gCompat.RootBridge; }

bool PlainWidth(EFI_IO_WIDTH Width) { return Width <= IO_UINT64; }
bool CopyWidth(EFI_IO_WIDTH Width) { return Width >= MMIO_COPY_UINT8 && Width <= MMIO_COPY_UINT64; }
EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH BridgeWidth(EFI_IO_WIDTH Width) {
  return static_cast<EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH>(static_cast<UINT32>(Width) & 3);
}

EFI_STATUS EFIAPI MemRead(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (CopyWidth(Width))
    return Bridge()->CopyMem(Bridge(), BridgeWidth(Width), reinterpret_cast<UINT64>(Buffer), Address, Count);
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Mem.Read(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

EFI_STATUS EFIAPI MemWrite(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (CopyWidth(Width))
    return Bridge()->CopyMem(Bridge(), BridgeWidth(Width), Address, reinterpret_cast<UINT64>(Buffer), Count);
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Mem.Write(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

EFI_STATUS EFIAPI IoRead(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Io.Read(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

EFI_STATUS EFIAPI IoWrite(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Io.Write(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

EFI_STATUS EFIAPI PciRead(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Pci.Read(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

EFI_STATUS EFIAPI PciWrite(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH Width, UINT64 Address, UINTN Count, VOID *Buffer) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (!PlainWidth(Width)) return EFI_INVALID_PARAMETER;
  return Bridge()->Pci.Write(Bridge(), BridgeWidth(Width), Address, Count, Buffer);
}

UINT8 ConfigByte(UINT32 Bus, UINT32 Device, UINT32 Function, UINT8 Register) {
  const UINT64 Address = (static_cast<UINT64>(Bus) << 24) | (Device << 16) | (Function << 8) | Register;
  UINT8 Value = 0xFF;
  if (Bridge()->Pci.Read(Bridge(), EfiPciIoWidthUint8, Address, 1, &Value) != EFI_SUCCESS) return 0xFF;
  return Value;
}

// The PCI-to-PCI bridge on Bus whose secondary..subordinate range holds
// Target: its device and function, and its secondary bus.
bool BridgeToward(UINT32 Bus, UINT32 Target, UINT8 &Device, UINT8 &Function, UINT32 &Secondary) {
  for (UINT32 Dev = 0; Dev < 32; ++Dev) {
    for (UINT32 Fn = 0; Fn < 8; ++Fn) {
      const UINT8 Header = ConfigByte(Bus, Dev, Fn, PCI_HEADER_TYPE);
      if (Header == 0xFF || (Header & 0x7F) != HEADER_TYPE_BRIDGE) continue;
      const UINT8 Low = ConfigByte(Bus, Dev, Fn, PCI_SECONDARY_BUS);
      const UINT8 High = ConfigByte(Bus, Dev, Fn, PCI_SUBORDINATE_BUS);
      if (Low <= Bus || Target < Low || Target > High) continue;
      Device = static_cast<UINT8>(Dev);
      Function = static_cast<UINT8>(Fn);
      Secondary = Low;
      return true;
    }
  }
  return false;
}

// Bytes of Path before its end node, or 0 when none comes within the bound.
UINTN PathPayload(const UINT8 *Path) {
  UINTN At = 0;
  while (At + 4 <= MAX_BRIDGE_PATH_BYTES) {
    const UINTN Length = Path[At + 2] | (Path[At + 3] << 8);
    if (Path[At] == END_DEVICE_PATH_TYPE) return At;
    if (Length < 4) return 0;
    At += Length;
  }
  return 0;
}

EFI_STATUS EFIAPI PciDevicePath(EFI_DEVICE_IO_PROTOCOL *, UINT64 Address, EFI_DEVICE_PATH **Path) {
  if (Path == nullptr) return EFI_INVALID_PARAMETER;
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  VOID *RootInterface = nullptr;
  if (Boot->HandleProtocol(gCompat.RootBridgeHandle, &DevicePathGuid, &RootInterface) != EFI_SUCCESS ||
      RootInterface == nullptr)
    return EFI_NOT_FOUND;
  const auto *Root = static_cast<const UINT8 *>(RootInterface);
  const UINTN RootBytes = PathPayload(Root);

  // The nodes: one per bridge from bus 0 to the target bus, then the device.
  const UINT32 Target = static_cast<UINT32>(Address >> 24) & 0xFF;
  UINT8 Nodes[MAX_PCI_BUS_HOPS + 1][2];
  UINT32 Count = 0;
  for (UINT32 Bus = 0; Bus != Target;) {
    UINT8 Device = 0;
    UINT8 Function = 0;
    UINT32 Secondary = 0;
    if (Count == MAX_PCI_BUS_HOPS || !BridgeToward(Bus, Target, Device, Function, Secondary)) return EFI_NOT_FOUND;
    Nodes[Count][0] = Device;
    Nodes[Count][1] = Function;
    ++Count;
    Bus = Secondary;
  }
  Nodes[Count][0] = static_cast<UINT8>((Address >> 16) & 0x1F);
  Nodes[Count][1] = static_cast<UINT8>((Address >> 8) & 0x07);
  ++Count;

  const UINTN Size = RootBytes + Count * PCI_NODE_LENGTH + sizeof(END_ONLY_PATH);
  VOID *Block = nullptr;
  const EFI_STATUS Status = Boot->AllocatePool(EfiBootServicesData, Size, &Block);
  if (Status != EFI_SUCCESS) return Status;
  auto *Out = static_cast<UINT8 *>(Block);
  crt::memcpy(Out, Root, RootBytes);
  UINT8 *Node = Out + RootBytes;
  for (UINT32 Index = 0; Index < Count; ++Index, Node += PCI_NODE_LENGTH) {
    Node[0] = HARDWARE_DEVICE_PATH;
    Node[1] = HW_PCI_DP;
    Node[2] = PCI_NODE_LENGTH;
    Node[3] = 0;
    Node[4] = Nodes[Index][1];  // function first, as the PCI node has it
    Node[5] = Nodes[Index][0];
  }
  crt::memcpy(Node, END_ONLY_PATH, sizeof(END_ONLY_PATH));
  *Path = static_cast<EFI_DEVICE_PATH *>(Block);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Map(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_OPERATION_TYPE Operation, EFI_PHYSICAL_ADDRESS *HostAddress,
                      UINTN *NumberOfBytes, EFI_PHYSICAL_ADDRESS *DeviceAddress, VOID **Mapping) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  if (HostAddress == nullptr || Operation > EfiBusMasterCommonBuffer) return EFI_INVALID_PARAMETER;
  // The first three operations are numbered alike in both protocols.
  return Bridge()->Map(Bridge(), static_cast<EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_OPERATION>(Operation),
                       reinterpret_cast<VOID *>(*HostAddress), NumberOfBytes, DeviceAddress, Mapping);
}

EFI_STATUS EFIAPI Unmap(EFI_DEVICE_IO_PROTOCOL *, VOID *Mapping) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  return Bridge()->Unmap(Bridge(), Mapping);
}

EFI_STATUS EFIAPI AllocateBuffer(EFI_DEVICE_IO_PROTOCOL *, EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType,
                                 UINTN Pages, EFI_PHYSICAL_ADDRESS *HostAddress) {
  if (HostAddress == nullptr || Type >= MaxAllocateType) return EFI_INVALID_PARAMETER;
  if (MemoryType != EfiBootServicesData && MemoryType != EfiRuntimeServicesData) return EFI_INVALID_PARAMETER;
  EFI_PHYSICAL_ADDRESS Address = *HostAddress;
  EFI_ALLOCATE_TYPE Kind = Type;
  if (Kind == AllocateAnyPages) {  // DMA by 32-bit masters needs it low
    Kind = AllocateMaxAddress;
    Address = 0xFFFFFFFF;
  }
  const EFI_STATUS Status = crt::SystemTable()->BootServices->AllocatePages(Kind, MemoryType, Pages, &Address);
  if (Status == EFI_SUCCESS) *HostAddress = Address;
  return Status;
}

EFI_STATUS EFIAPI Flush(EFI_DEVICE_IO_PROTOCOL *) {
  if (Bridge() == nullptr) return EFI_UNSUPPORTED;
  return Bridge()->Flush(Bridge());
}

EFI_STATUS EFIAPI FreeBuffer(EFI_DEVICE_IO_PROTOCOL *, UINTN Pages, EFI_PHYSICAL_ADDRESS HostAddress) {
  return crt::SystemTable()->BootServices->FreePages(HostAddress, Pages);
}

constinit EFI_DEVICE_IO_PROTOCOL Served = {
    {MemRead, MemWrite}, {IoRead, IoWrite}, {PciRead, PciWrite}, Map, PciDevicePath, Unmap, AllocateBuffer, Flush,
    FreeBuffer};

}  // namespace

EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *FindRootBridge(EFI_BOOT_SERVICES *Boot, EFI_HANDLE *Handle) {
  EFI_HANDLE *Handles = nullptr;
  UINTN Count = 0;
  if (Boot->LocateHandleBuffer(ByProtocol, &RootBridgeGuid, nullptr, &Count, &Handles) != EFI_SUCCESS) return nullptr;
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *Found = nullptr;
  for (UINTN Index = 0; Index < Count && Found == nullptr; ++Index) {
    VOID *Interface = nullptr;
    if (Boot->HandleProtocol(Handles[Index], &RootBridgeGuid, &Interface) != EFI_SUCCESS || Interface == nullptr)
      continue;
    auto *Candidate = static_cast<EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *>(Interface);
    if (Candidate->SegmentNumber != 0) continue;
    Found = Candidate;
    *Handle = Handles[Index];
  }
  (void)Boot->FreePool(Handles);
  return Found;
}

EFI_STATUS InstallDeviceIo(EFI_HANDLE ImageHandle, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *RootBridge,
                           EFI_HANDLE BridgeHandle) {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  gCompat.RootBridge = RootBridge;
  gCompat.RootBridgeHandle = BridgeHandle;
  EFI_HANDLE Handle = ImageHandle;
  EFI_STATUS Status =
      Boot->InstallProtocolInterface(&Handle, &DevicePathGuid, EFI_NATIVE_INTERFACE, crt::RootDevicePath());
  if (Status != EFI_SUCCESS) return Status;
  Status = Boot->InstallProtocolInterface(&Handle, &DeviceIoGuid, EFI_NATIVE_INTERFACE, &Served);
  if (Status != EFI_SUCCESS) {
    (void)Boot->UninstallProtocolInterface(ImageHandle, &DevicePathGuid, crt::RootDevicePath());
    return Status;
  }
  gCompat.DeviceIoInstalled = TRUE;
  return EFI_SUCCESS;
}

EFI_STATUS UninstallDeviceIo(EFI_HANDLE ImageHandle) {
  if (!gCompat.DeviceIoInstalled) return EFI_SUCCESS;
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  EFI_STATUS Status = Boot->UninstallProtocolInterface(ImageHandle, &DeviceIoGuid, &Served);
  if (Status != EFI_SUCCESS) return Status;
  Status = Boot->UninstallProtocolInterface(ImageHandle, &DevicePathGuid, crt::RootDevicePath());
  if (Status != EFI_SUCCESS) return Status;
  gCompat.DeviceIoInstalled = FALSE;
  return EFI_SUCCESS;
}

EFI_DEVICE_IO_PROTOCOL *DeviceIoRecord() { return &Served; }

}  // namespace hiicompat

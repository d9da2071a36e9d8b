// A PCI root bridge (EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL, segment 0,
// PciRoot(0x0)) over simulated spaces: a 64 KiB memory window, the 64 KiB
// I/O port space, and configuration spaces of the functions a test puts
// there. As a root bridge driver does, it refuses an access outside its
// apertures or of a width it does not know with EFI_INVALID_PARAMETER, and a
// configuration read of a missing function returns all ones. Map is an
// identity mapping; AllocateBuffer takes pages from the platform.
#include "sim/device_path.h"
#include "sim/root_bridge_state.h"

#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

constexpr uint64_t MMIO_BASE = 0xFE000000;
constexpr size_t MMIO_BYTES = 64 * 1024;
constexpr size_t IO_BYTES = 64 * 1024;
constexpr size_t CONFIG_BYTES = 256;
constexpr uint64_t CONFIG_SPAN = 1ull << 32;  // bus, device, function, register below bit 32

RootBridgeState &Bridge() { return *ActiveState().RootBridge; }

// The unit size and how address and buffer advance, per width.
struct Stride {
  size_t Unit;
  bool AddressMoves;
  bool BufferMoves;
};

std::optional<Stride> StrideOf(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width) {
  const auto Value = static_cast<unsigned>(Width);
  if (Value >= EfiPciIoWidthMaximum) return std::nullopt;
  const size_t Unit = size_t{1} << (Value & 3);
  if (Value <= EfiPciIoWidthUint64) return Stride{Unit, true, true};
  if (Value <= EfiPciIoWidthFifoUint64) return Stride{Unit, false, true};
  return Stride{Unit, true, false};
}

// The bytes of one space an access may touch, or nullptr when Address..+Bytes
// lies outside it.
uint8_t *MmioAt(uint64_t Address, uint64_t Bytes) {
  PciRootBridgeSpaces &S = Bridge().Spaces;
  if (Address < S.MmioBase || Address - S.MmioBase > S.Mmio.size() || Bytes > S.Mmio.size() - (Address - S.MmioBase))
    return nullptr;
  return S.Mmio.data() + (Address - S.MmioBase);
}

uint8_t *IoAt(uint64_t Address, uint64_t Bytes) {
  PciRootBridgeSpaces &S = Bridge().Spaces;
  if (Address > S.Io.size() || Bytes > S.Io.size() - Address) return nullptr;
  return S.Io.data() + Address;
}

using SpaceAt = uint8_t *(*)(uint64_t Address, uint64_t Bytes);

// Checks the whole access first, so a refused one changes nothing.
EFI_STATUS Access(SpaceAt Space, bool Write, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address,
                  UINTN Count, VOID *Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::RootBridgeAccess);
  if (Injected != EFI_SUCCESS) return Injected;
  const auto Step = StrideOf(Width);
  if (!Step || Buffer == nullptr) return EFI_INVALID_PARAMETER;
  if (Address % Step->Unit != 0) return EFI_UNSUPPORTED;
  if (Count > (1u << 24)) return EFI_INVALID_PARAMETER;
  const uint64_t Span = Step->AddressMoves ? Count * Step->Unit : Step->Unit;
  if (Count != 0 && Space(Address, Span) == nullptr) return EFI_INVALID_PARAMETER;
  auto *Bytes = static_cast<uint8_t *>(Buffer);
  for (UINTN Index = 0; Index < Count; ++Index) {
    uint8_t *Target = Space(Address + (Step->AddressMoves ? Index * Step->Unit : 0), Step->Unit);
    uint8_t *Mine = Bytes + (Step->BufferMoves ? Index * Step->Unit : 0);
    if (Write) {
      std::memcpy(Target, Mine, Step->Unit);
    } else {
      std::memcpy(Mine, Target, Step->Unit);
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI MemRead(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address,
                          UINTN Count, VOID *Buffer) {
  return Access(MmioAt, false, Width, Address, Count, Buffer);
}
EFI_STATUS EFIAPI MemWrite(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width,
                           UINT64 Address, UINTN Count, VOID *Buffer) {
  return Access(MmioAt, true, Width, Address, Count, Buffer);
}
EFI_STATUS EFIAPI IoRead(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address,
                         UINTN Count, VOID *Buffer) {
  return Access(IoAt, false, Width, Address, Count, Buffer);
}
EFI_STATUS EFIAPI IoWrite(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width,
                          UINT64 Address, UINTN Count, VOID *Buffer) {
  return Access(IoAt, true, Width, Address, Count, Buffer);
}

// Configuration addresses: register in byte 0, function in byte 1, device
// in byte 2, bus in byte 3 (an extended register in bits 32..63 is not
// served). Each unit is read from or written to its own function's space.
EFI_STATUS Config(bool Write, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address, UINTN Count,
                  VOID *Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::RootBridgeAccess);
  if (Injected != EFI_SUCCESS) return Injected;
  const auto Step = StrideOf(Width);
  if (!Step || Buffer == nullptr || Address >= CONFIG_SPAN) return EFI_INVALID_PARAMETER;
  if (Address % Step->Unit != 0) return EFI_UNSUPPORTED;
  if (Count > CONFIG_BYTES) return EFI_INVALID_PARAMETER;
  const uint64_t Register = Address & 0xFF;
  const uint64_t Span = Step->AddressMoves ? Count * Step->Unit : Step->Unit;
  if (Register + Span > CONFIG_BYTES) return EFI_INVALID_PARAMETER;
  const uint32_t Function = static_cast<uint32_t>(Address >> 8) & 0xFFFFFF;
  const uint32_t Key = ((Function >> 16) << 16) | (((Function >> 8) & 0x1F) << 8) | (Function & 0x7);
  auto &Spaces = Bridge().Spaces.Config;
  auto It = Spaces.find(Key);
  auto *Bytes = static_cast<uint8_t *>(Buffer);
  for (UINTN Index = 0; Index < Count; ++Index) {
    const uint64_t At = Register + (Step->AddressMoves ? Index * Step->Unit : 0);
    uint8_t *Mine = Bytes + (Step->BufferMoves ? Index * Step->Unit : 0);
    if (It == Spaces.end()) {
      if (!Write) std::memset(Mine, 0xFF, Step->Unit);
      continue;
    }
    if (Write) {
      std::memcpy(It->second.data() + At, Mine, Step->Unit);
    } else {
      std::memcpy(Mine, It->second.data() + At, Step->Unit);
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI PciRead(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address,
                          UINTN Count, VOID *Buffer) {
  return Config(false, Width, Address, Count, Buffer);
}
EFI_STATUS EFIAPI PciWrite(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width,
                           UINT64 Address, UINTN Count, VOID *Buffer) {
  return Config(true, Width, Address, Count, Buffer);
}

// One read compared against the mask; the simulator does not wait.
EFI_STATUS Poll(SpaceAt Space, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address, UINT64 Mask, UINT64 Value,
                UINT64 *Result) {
  if (Result == nullptr) return EFI_INVALID_PARAMETER;
  const auto Step = StrideOf(Width);
  if (!Step || Width > EfiPciIoWidthUint64) return EFI_INVALID_PARAMETER;
  UINT64 Read = 0;
  const EFI_STATUS Status = Access(Space, false, Width, Address, 1, &Read);
  if (Status != EFI_SUCCESS) return Status;
  *Result = Read;
  return (Read & Mask) == Value ? EFI_SUCCESS : EFI_TIMEOUT;
}

EFI_STATUS EFIAPI PollMem(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width,
                          UINT64 Address, UINT64 Mask, UINT64 Value, UINT64, UINT64 *Result) {
  return Poll(MmioAt, Width, Address, Mask, Value, Result);
}
EFI_STATUS EFIAPI PollIo(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width, UINT64 Address,
                         UINT64 Mask, UINT64 Value, UINT64, UINT64 *Result) {
  return Poll(IoAt, Width, Address, Mask, Value, Result);
}

EFI_STATUS EFIAPI CopyMem(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_WIDTH Width,
                          UINT64 Destination, UINT64 Source, UINTN Count) {
  const auto Step = StrideOf(Width);
  if (!Step || Width > EfiPciIoWidthUint64) return EFI_INVALID_PARAMETER;
  const uint64_t Bytes = Count * Step->Unit;
  uint8_t *To = MmioAt(Destination, Bytes);
  uint8_t *From = MmioAt(Source, Bytes);
  if (To == nullptr || From == nullptr) return EFI_INVALID_PARAMETER;
  std::memmove(To, From, Bytes);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Map(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL_OPERATION Operation,
                      VOID *HostAddress, UINTN *NumberOfBytes, EFI_PHYSICAL_ADDRESS *DeviceAddress, VOID **Mapping) {
  if (HostAddress == nullptr || NumberOfBytes == nullptr || DeviceAddress == nullptr || Mapping == nullptr ||
      Operation >= EfiPciOperationMaximum)
    return EFI_INVALID_PARAMETER;
  RootBridgeState &B = Bridge();
  const uint64_t Token = B.NextMapping++;
  B.Mappings[Token] = reinterpret_cast<uint64_t>(HostAddress);
  *DeviceAddress = reinterpret_cast<uint64_t>(HostAddress);
  *Mapping = reinterpret_cast<VOID *>(Token);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Unmap(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, VOID *Mapping) {
  if (Bridge().Mappings.erase(reinterpret_cast<uint64_t>(Mapping)) == 0) return EFI_INVALID_PARAMETER;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AllocateBuffer(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType,
                                 UINTN Pages, VOID **HostAddress, UINT64 Attributes) {
  (void)Attributes;
  if (HostAddress == nullptr) return EFI_INVALID_PARAMETER;
  if (Type == AllocateAddress) return EFI_UNSUPPORTED;
  if (MemoryType != EfiBootServicesData && MemoryType != EfiRuntimeServicesData) return EFI_INVALID_PARAMETER;
  EFI_PHYSICAL_ADDRESS Address = 0xFFFFFFFF;  // common buffers stay below 4 GiB
  const EFI_STATUS Status =
      SystemTableInstance()->BootServices->AllocatePages(AllocateMaxAddress, MemoryType, Pages, &Address);
  if (Status != EFI_SUCCESS) return Status;
  *HostAddress = reinterpret_cast<VOID *>(Address);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FreeBuffer(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, UINTN Pages, VOID *HostAddress) {
  return SystemTableInstance()->BootServices->FreePages(reinterpret_cast<EFI_PHYSICAL_ADDRESS>(HostAddress), Pages);
}

EFI_STATUS EFIAPI Flush(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *) { return EFI_SUCCESS; }

EFI_STATUS EFIAPI GetAttributes(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, UINT64 *Supports, UINT64 *Attributes) {
  if (Supports == nullptr && Attributes == nullptr) return EFI_INVALID_PARAMETER;
  if (Supports != nullptr) *Supports = 0;
  if (Attributes != nullptr) *Attributes = 0;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetAttributes(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, UINT64 Attributes, UINT64 *, UINT64 *) {
  return Attributes == 0 ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI Configuration(EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *, VOID **Resources) {
  if (Resources == nullptr) return EFI_INVALID_PARAMETER;
  *Resources = nullptr;
  return EFI_UNSUPPORTED;
}

std::vector<uint8_t> PciRootPath() {
  // ACPI node: HID PNP0A03 (EISA-encoded), UID 0.
  std::vector<uint8_t> Path = {ACPI_DEVICE_PATH_TYPE, ACPI_SUBTYPE, 12, 0, 0xD0, 0x41, 0x03, 0x0A, 0, 0, 0, 0};
  const DevicePathBytes End = EndOnlyDevicePath();
  Path.insert(Path.end(), End.begin(), End.end());
  return Path;
}

}  // namespace

EFI_HANDLE Firmware::InstallPciRootBridge() {
  if (S->RootBridge) return S->RootBridge->Handle;
  S->RootBridge = std::make_unique<RootBridgeState>();
  RootBridgeState &B = *S->RootBridge;
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL &P = B.Protocol;
  P.PollMem = PollMem;
  P.PollIo = PollIo;
  P.Mem.Read = MemRead;
  P.Mem.Write = MemWrite;
  P.Io.Read = IoRead;
  P.Io.Write = IoWrite;
  P.Pci.Read = PciRead;
  P.Pci.Write = PciWrite;
  P.CopyMem = CopyMem;
  P.Map = Map;
  P.Unmap = Unmap;
  P.AllocateBuffer = AllocateBuffer;
  P.FreeBuffer = FreeBuffer;
  P.Flush = Flush;
  P.GetAttributes = GetAttributes;
  P.SetAttributes = SetAttributes;
  P.Configuration = Configuration;
  P.SegmentNumber = 0;
  B.Spaces.MmioBase = MMIO_BASE;
  B.Spaces.Mmio.assign(MMIO_BYTES, 0);
  B.Spaces.Io.assign(IO_BYTES, 0);
  B.DevicePath = PciRootPath();
  EFI_HANDLE Handle = nullptr;
  if (InstallInterface(*S, &Handle, gEfiDevicePathProtocolGuid, B.DevicePath.data()) != EFI_SUCCESS ||
      InstallInterface(*S, &Handle, gEfiPciRootBridgeIoProtocolGuid, &B.Protocol) != EFI_SUCCESS)
    std::abort();
  P.ParentHandle = Handle;
  B.Handle = Handle;
  return Handle;
}

PciRootBridgeSpaces &Firmware::RootBridge() {
  if (!S->RootBridge) std::abort();
  return S->RootBridge->Spaces;
}

}  // namespace sim

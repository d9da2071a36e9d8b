// The system table and its two service tables.
//
// The tables live in static storage rather than in the Firmware object: code
// under test (gnu-efi's libefi in particular) caches ST/BS/RT pointers once
// per process, so every platform reuses the same table addresses and only
// refills them. Entries no caller needs return EFI_UNSUPPORTED; none is null.
#include "sim/crc32.h"
#include "sim/firmware_state.h"

#include <cstring>

namespace sim {
namespace {

EFI_SYSTEM_TABLE gSystemTable;
EFI_BOOT_SERVICES gBootServices;
EFI_RUNTIME_SERVICES gRuntimeServices;
EFI_CONFIGURATION_TABLE gNoConfigurationTables[1];
CHAR16 gFirmwareVendor[] = {u'S', u'i', u'm', u'u', u'l', u'a', u't', u'e', u'd', u' ', u'U', u'E', u'F', u'I', 0};

constexpr UINT32 DEFAULT_REVISION = (2 << 16) | 70;

EFI_STATUS EFIAPI UnsupportedGetMemoryMap(UINTN *, EFI_MEMORY_DESCRIPTOR *, UINTN *, UINTN *, UINT32 *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedCreateEvent(UINT32, EFI_TPL, EFI_EVENT_NOTIFY, VOID *, EFI_EVENT *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedSetTimer(EFI_EVENT, EFI_TIMER_DELAY, UINT64) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedWaitForEvent(UINTN, EFI_EVENT *, UINTN *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedEvent(EFI_EVENT) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedReinstall(EFI_HANDLE, EFI_GUID *, VOID *, VOID *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedRegisterNotify(EFI_GUID *, EFI_EVENT, VOID **) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedConfigurationTable(EFI_GUID *, VOID *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedExitBootServices(EFI_HANDLE, UINTN) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedConnect(EFI_HANDLE, EFI_HANDLE *, EFI_DEVICE_PATH *, BOOLEAN) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedDisconnect(EFI_HANDLE, EFI_HANDLE, EFI_HANDLE) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedOpenInformation(EFI_HANDLE, EFI_GUID *, EFI_OPEN_PROTOCOL_INFORMATION_ENTRY **, UINTN *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedMultipleInstall(EFI_HANDLE *, ...) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedMultipleUninstall(EFI_HANDLE, ...) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedCreateEventEx(UINT32, EFI_TPL, EFI_EVENT_NOTIFY, const VOID *, const EFI_GUID *, EFI_EVENT *) { return EFI_UNSUPPORTED; }

EFI_STATUS EFIAPI UnsupportedSetTime(EFI_TIME *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedGetWakeupTime(BOOLEAN *, BOOLEAN *, EFI_TIME *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedSetWakeupTime(BOOLEAN, EFI_TIME *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedVirtualAddressMap(UINTN, UINTN, UINT32, EFI_MEMORY_DESCRIPTOR *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedConvertPointer(UINTN, VOID **) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedUpdateCapsule(EFI_CAPSULE_HEADER **, UINTN, EFI_PHYSICAL_ADDRESS) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedCapsuleCapabilities(EFI_CAPSULE_HEADER **, UINTN, UINT64 *, EFI_RESET_TYPE *) { return EFI_UNSUPPORTED; }

void SealHeader(EFI_TABLE_HEADER &Header, size_t Size) {
  Header.CRC32 = 0;
  Header.CRC32 = Crc32(&Header, Size);
}

}  // namespace

EFI_SYSTEM_TABLE *SystemTableInstance() { return &gSystemTable; }

void WireSystemTable() {
  EFI_SYSTEM_TABLE &System = gSystemTable;
  EFI_BOOT_SERVICES &Boot = gBootServices;
  EFI_RUNTIME_SERVICES &Runtime = gRuntimeServices;
  System = EFI_SYSTEM_TABLE{};
  System.Hdr.Signature = EFI_SYSTEM_TABLE_SIGNATURE;
  System.Hdr.Revision = DEFAULT_REVISION;
  System.Hdr.HeaderSize = sizeof(EFI_SYSTEM_TABLE);
  System.FirmwareVendor = gFirmwareVendor;
  System.FirmwareRevision = 0x00010000;
  System.BootServices = &gBootServices;
  System.RuntimeServices = &gRuntimeServices;
  System.NumberOfTableEntries = 0;
  System.ConfigurationTable = gNoConfigurationTables;

  Boot = EFI_BOOT_SERVICES{};
  Boot.Hdr.Signature = EFI_BOOT_SERVICES_SIGNATURE;
  Boot.Hdr.Revision = DEFAULT_REVISION;
  Boot.Hdr.HeaderSize = sizeof(EFI_BOOT_SERVICES);
  Boot.GetMemoryMap = UnsupportedGetMemoryMap;
  Boot.CreateEvent = UnsupportedCreateEvent;
  Boot.SetTimer = UnsupportedSetTimer;
  Boot.WaitForEvent = UnsupportedWaitForEvent;
  Boot.SignalEvent = UnsupportedEvent;
  Boot.CloseEvent = UnsupportedEvent;
  Boot.CheckEvent = UnsupportedEvent;
  Boot.ReinstallProtocolInterface = UnsupportedReinstall;
  Boot.RegisterProtocolNotify = UnsupportedRegisterNotify;
  Boot.InstallConfigurationTable = UnsupportedConfigurationTable;
  Boot.ExitBootServices = UnsupportedExitBootServices;
  Boot.ConnectController = UnsupportedConnect;
  Boot.DisconnectController = UnsupportedDisconnect;
  Boot.OpenProtocolInformation = UnsupportedOpenInformation;
  Boot.InstallMultipleProtocolInterfaces = UnsupportedMultipleInstall;
  Boot.UninstallMultipleProtocolInterfaces = UnsupportedMultipleUninstall;
  Boot.CreateEventEx = UnsupportedCreateEventEx;

  Runtime = EFI_RUNTIME_SERVICES{};
  Runtime.Hdr.Signature = EFI_RUNTIME_SERVICES_SIGNATURE;
  Runtime.Hdr.Revision = DEFAULT_REVISION;
  Runtime.Hdr.HeaderSize = sizeof(EFI_RUNTIME_SERVICES);
  Runtime.SetTime = UnsupportedSetTime;
  Runtime.GetWakeupTime = UnsupportedGetWakeupTime;
  Runtime.SetWakeupTime = UnsupportedSetWakeupTime;
  Runtime.SetVirtualAddressMap = UnsupportedVirtualAddressMap;
  Runtime.ConvertPointer = UnsupportedConvertPointer;
  Runtime.UpdateCapsule = UnsupportedUpdateCapsule;
  Runtime.QueryCapsuleCapabilities = UnsupportedCapsuleCapabilities;
}

void SealTables() {
  SealHeader(gSystemTable.Hdr, sizeof gSystemTable);
  SealHeader(gBootServices.Hdr, sizeof gBootServices);
  SealHeader(gRuntimeServices.Hdr, sizeof gRuntimeServices);
}

}  // namespace sim

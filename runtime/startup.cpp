// Start-up and shutdown of the runtime, exit handlers, and the two values
// every other part asks for: the system table and the image handle.
#include "runtime/crt.h"
#include "runtime/runtime_internal.h"
#include "runtime/runtime_state.h"

namespace crt::detail {

constinit RuntimeState gRuntime{};

EFI_BOOT_SERVICES *BootServices() {
  return gRuntime.SystemTable != nullptr ? gRuntime.SystemTable->BootServices : nullptr;
}

EFI_RUNTIME_SERVICES *RuntimeServices() {
  return gRuntime.SystemTable != nullptr ? gRuntime.SystemTable->RuntimeServices : nullptr;
}

namespace {

// EFI 1.10: the first revision with the services this runtime relies on.
constexpr UINT32 MINIMUM_REVISION = 0x0001000A;

// Heap blocks take the image's own data type, as the firmware's loader would
// for the image's .data; without a loaded-image protocol, boot-services data.
EFI_MEMORY_TYPE ImagePoolType(EFI_SYSTEM_TABLE *Table, EFI_HANDLE Image) {
  EFI_LOADED_IMAGE *Loaded = nullptr;
  EFI_STATUS Status = Table->BootServices->HandleProtocol(Image, &gEfiLoadedImageProtocolGuid,
                                                           reinterpret_cast<void **>(&Loaded));
  if (EFI_ERROR(Status) || Loaded == nullptr) return EfiBootServicesData;
  return Loaded->ImageDataType;
}

[[nodiscard]] EFI_STATUS RefuseOldFirmware(EFI_SYSTEM_TABLE *Table, EFI_HANDLE Image) {
  static char16_t Message[] = u"Please start this image in EFI higher version \r\n";
  if (Table->ConOut != nullptr) Table->ConOut->OutputString(Table->ConOut, WMutable(Message));
  Table->BootServices->Exit(Image, EFI_UNSUPPORTED, 0, nullptr);
  // Exit does not return on real firmware; if it does, the image still fails.
  return EFI_UNSUPPORTED;
}

}  // namespace
}  // namespace crt::detail

namespace crt {

using detail::gRuntime;

EFI_STATUS Startup(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) return EFI_INVALID_PARAMETER;
  if (SystemTable->Hdr.Revision < detail::MINIMUM_REVISION) {
    return detail::RefuseOldFirmware(SystemTable, ImageHandle);
  }
  // A second Startup without Shutdown starts over with a fresh environment.
  detail::FreeEnvironment();
  gRuntime.SystemTable = SystemTable;
  gRuntime.ImageHandle = ImageHandle;
  gRuntime.PoolType = detail::ImagePoolType(SystemTable, ImageHandle);

  // Firmware arms a five-minute watchdog before starting an image; a session
  // may legitimately last longer. The environment is built even when the
  // firmware refuses, since the driver cannot find its files without it.
  EFI_STATUS WatchdogStatus = SystemTable->BootServices->SetWatchdogTimer(0, 0, 0, nullptr);
  EFI_STATUS EnvironmentStatus = detail::BuildEnvironment();
  return EFI_ERROR(WatchdogStatus) ? WatchdogStatus : EnvironmentStatus;
}

void Shutdown() {
  // Handlers may still use the heap and streams, so they run first; one that
  // registers another handler while running gets it run too.
  while (gRuntime.ExitHandlerCount > 0) {
    void (*Handler)() = gRuntime.ExitHandlers[--gRuntime.ExitHandlerCount];
    if (Handler != nullptr) Handler();
  }
  detail::CloseAllStreams();
  detail::FreeEnvironment();
  detail::ReleasePageRuns();
  detail::ReleaseHeap();
  ResetState();
}

int atexit(void (*Handler)()) {
  if (Handler == nullptr || gRuntime.ExitHandlerCount >= detail::MAX_EXIT_HANDLERS) return -1;
  gRuntime.ExitHandlers[gRuntime.ExitHandlerCount++] = Handler;
  return 0;
}

void ResetState() { gRuntime = detail::RuntimeState{}; }

EFI_SYSTEM_TABLE *SystemTable() { return gRuntime.SystemTable; }

EFI_HANDLE ImageHandle() { return gRuntime.ImageHandle; }

}  // namespace crt

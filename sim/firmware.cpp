// The platform object: construction wires the service tables and lays out
// the handles every platform has; destruction releases whatever callers left.
#include "sim/device_path.h"
#include "sim/file_handle.h"
#include "sim/firmware_state.h"
#include "sim/hii_record.h"
#include "sim/root_bridge_state.h"
#include "sim/uefi_hii_state.h"

#include <cstdio>
#include <cstdlib>

namespace sim {
namespace {

Firmware *gActive = nullptr;
State *gActiveState = nullptr;

}  // namespace

State::State() = default;
State::~State() = default;

State &ActiveState() {
  if (gActiveState == nullptr) {
    std::fprintf(stderr, "sim: a firmware service was called with no sim::Firmware alive\n");
    std::abort();
  }
  return *gActiveState;
}

Firmware::Firmware() : S(std::make_unique<State>()) {
  if (gActive != nullptr) {
    std::fprintf(stderr, "sim: a second sim::Firmware was created while one is alive\n");
    std::abort();
  }
  gActive = this;
  gActiveState = S.get();

  WireSystemTable();
  EFI_SYSTEM_TABLE *System = SystemTableInstance();
  WireConsole(*System);
  WireMemoryServices(*System->BootServices);
  WireHandleServices(*System->BootServices);
  WireImageServices(*System->BootServices);
  WireVariableServices(*System->RuntimeServices);
  WireMiscServices(*System->BootServices, *System->RuntimeServices);
  WireEventServices(*System->BootServices);
  SealTables();

  // The root device: a device I/O stand-in on a handle whose device path is
  // only the end node, where drivers of the EFI 1.10 era look for it.
  S->EndOnlyPath = EndOnlyDevicePath();
  EFI_HANDLE Root = nullptr;
  EFI_STATUS Status = InstallInterface(*S, &Root, gEfiDevicePathProtocolGuid, S->EndOnlyPath.data());
  if (Status == EFI_SUCCESS) Status = InstallInterface(*S, &Root, gEfiDeviceIoProtocolGuid, &S->DeviceIoStandIn);
  if (Status != EFI_SUCCESS) std::abort();
  S->RootDeviceIo = Root;
  S->PlatformImage = CreatePlatformImage(*S);
}

Firmware::~Firmware() {
  CloseAllFiles(*S);
  ReleaseAllPool(*S);
  ReleaseAllPages(*S);
  gActive = nullptr;
  gActiveState = nullptr;
}

Firmware *Firmware::Active() { return gActive; }

EFI_SYSTEM_TABLE *Firmware::SystemTable() { return SystemTableInstance(); }

void Firmware::SetRevision(UINT32 Revision) {
  SystemTableInstance()->Hdr.Revision = Revision;
  SealTables();
}

std::optional<UINTN> Firmware::WatchdogTimeout() const { return S->WatchdogTimeout; }
bool Firmware::ResetRequested() const { return S->ResetRequested; }

}  // namespace sim

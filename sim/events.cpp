// Events: only what a boot-service driver needs to leave the runtime
// services table clean before an operating system takes over, an event of
// type EVT_SIGNAL_EXIT_BOOT_SERVICES and CloseEvent. Timers, waits and
// other event types stay EFI_UNSUPPORTED. SignalExitBootServices() runs the
// notification functions as ExitBootServices would.
#include "sim/firmware_state.h"

#include <algorithm>

namespace sim {
namespace {

constexpr uintptr_t EVENT_BASE = 0x6E00000;
constexpr uintptr_t EVENT_STRIDE = 0x10;

EFI_STATUS EFIAPI CreateEvent(UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction, VOID *NotifyContext,
                              EFI_EVENT *Event) {
  State &S = ActiveState();
  if (Event == nullptr) return EFI_INVALID_PARAMETER;
  if (Type != EVT_SIGNAL_EXIT_BOOT_SERVICES) return EFI_UNSUPPORTED;
  if (NotifyFunction == nullptr || (NotifyTpl != TPL_CALLBACK && NotifyTpl != TPL_NOTIFY)) return EFI_INVALID_PARAMETER;
  const uintptr_t Id = S.NextEventId++;
  S.Events.push_back(EventRecord{Id, NotifyFunction, NotifyContext});
  *Event = reinterpret_cast<EFI_EVENT>(EVENT_BASE + Id * EVENT_STRIDE);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CloseEvent(EFI_EVENT Event) {
  State &S = ActiveState();
  const auto Value = reinterpret_cast<uintptr_t>(Event);
  const auto It = std::find_if(S.Events.begin(), S.Events.end(), [&](const EventRecord &R) {
    return EVENT_BASE + R.Id * EVENT_STRIDE == Value;
  });
  if (It == S.Events.end()) return EFI_INVALID_PARAMETER;
  S.Events.erase(It);
  return EFI_SUCCESS;
}

}  // namespace

void WireEventServices(EFI_BOOT_SERVICES &Boot) {
  Boot.CreateEvent = CreateEvent;
  Boot.CloseEvent = CloseEvent;
}

void Firmware::SignalExitBootServices() {
  // A notification may close its own event: walk a copy.
  const std::vector<EventRecord> Pending = S->Events;
  for (const EventRecord &R : Pending)
    R.Notify(reinterpret_cast<EFI_EVENT>(EVENT_BASE + R.Id * EVENT_STRIDE), R.Context);
}

size_t Firmware::EventCount() const { return S->Events.size(); }

}  // namespace sim

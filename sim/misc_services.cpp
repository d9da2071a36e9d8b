// Boot and runtime services with little or no effect on the host: task
// priority, stall, watchdog, monotonic counts, CRC, time and reset. None of
// them reads the host clock, so tests never depend on wall-clock time.
#include "sim/crc32.h"
#include "sim/firmware_state.h"

namespace sim {
namespace {

EFI_TPL EFIAPI RaiseTPL(EFI_TPL NewTpl) {
  State &S = ActiveState();
  const EFI_TPL Old = S.Tpl;
  S.Tpl = NewTpl;
  return Old;
}

VOID EFIAPI RestoreTPL(EFI_TPL OldTpl) { ActiveState().Tpl = OldTpl; }

EFI_STATUS EFIAPI Stall(UINTN) { return EFI_SUCCESS; }

EFI_STATUS EFIAPI SetWatchdogTimer(UINTN Timeout, UINT64 WatchdogCode, UINTN DataSize, CHAR16 *WatchdogData) {
  (void)DataSize;
  (void)WatchdogData;
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::SetWatchdogTimer);
  if (Injected != EFI_SUCCESS) return Injected;
  // Codes up to 0xFFFF are reserved for the firmware.
  if (WatchdogCode <= 0xFFFF && WatchdogCode != 0 && Timeout != 0) return EFI_INVALID_PARAMETER;
  S.WatchdogTimeout = Timeout;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextMonotonicCount(UINT64 *Count) {
  if (Count == nullptr) return EFI_INVALID_PARAMETER;
  *Count = ++ActiveState().MonotonicCount;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextHighMonotonicCount(UINT32 *HighCount) {
  if (HighCount == nullptr) return EFI_INVALID_PARAMETER;
  State &S = ActiveState();
  S.MonotonicCount += 1ull << 32;
  *HighCount = static_cast<UINT32>(S.MonotonicCount >> 32);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CalculateCrc32(VOID *Data, UINTN DataSize, UINT32 *Crc) {
  if (Data == nullptr || DataSize == 0 || Crc == nullptr) return EFI_INVALID_PARAMETER;
  *Crc = Crc32(Data, DataSize);
  return EFI_SUCCESS;
}

// A fixed instant: the simulated clock never moves.
EFI_STATUS EFIAPI GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) {
  if (Time == nullptr) return EFI_INVALID_PARAMETER;
  *Time = EFI_TIME{};
  Time->Year = 2024;
  Time->Month = 1;
  Time->Day = 1;
  Time->TimeZone = EFI_UNSPECIFIED_TIMEZONE;
  if (Capabilities != nullptr) {
    Capabilities->Resolution = 1;
    Capabilities->Accuracy = 50000000;
    Capabilities->SetsToZero = FALSE;
  }
  return EFI_SUCCESS;
}

// Real firmware does not return from ResetSystem; the host can only record it.
EFI_STATUS EFIAPI ResetSystem(EFI_RESET_TYPE, EFI_STATUS, UINTN, CHAR16 *) {
  ActiveState().ResetRequested = true;
  return EFI_SUCCESS;
}

}  // namespace

void WireMiscServices(EFI_BOOT_SERVICES &Boot, EFI_RUNTIME_SERVICES &Runtime) {
  Boot.RaiseTPL = RaiseTPL;
  Boot.RestoreTPL = RestoreTPL;
  Boot.Stall = Stall;
  Boot.SetWatchdogTimer = SetWatchdogTimer;
  Boot.GetNextMonotonicCount = GetNextMonotonicCount;
  Boot.CalculateCrc32 = CalculateCrc32;
  Runtime.GetTime = GetTime;
  Runtime.GetNextHighMonotonicCount = GetNextHighMonotonicCount;
  Runtime.ResetSystem = ResetSystem;
}

}  // namespace sim

// Call counters and fault injection. Every service entry point calls
// State::Enter first, so an injected failure happens before any side effect.
#include "sim/firmware_state.h"

namespace sim {

const char *ServiceName(Service S) {
  static const char *const Names[] = {
      "AllocatePool", "FreePool", "AllocatePages", "FreePages",
      "GetVariable", "SetVariable", "GetNextVariableName",
      "LocateHandle", "HandleProtocol", "LocateProtocol", "LocateDevicePath",
      "InstallProtocolInterface", "UninstallProtocolInterface",
      "LoadImage", "StartImage", "UnloadImage", "Exit", "SetWatchdogTimer",
      "OpenVolume", "FileOpen", "FileClose", "FileRead", "FileWrite",
      "FileGetPosition", "FileSetPosition", "FileGetInfo", "FileFlush",
      "HiiExportDatabase",
      "FileDelete", "FileSetInfo",
      "HiiNewPackageList", "HiiExportPackageLists", "ConfigExtract", "ConfigRoute",
      "RootBridgeAccess"};
  static_assert(sizeof Names / sizeof Names[0] == static_cast<size_t>(Service::Count));
  const auto Index = static_cast<size_t>(S);
  return Index < static_cast<size_t>(Service::Count) ? Names[Index] : "?";
}

EFI_STATUS State::Enter(Service Target, const EFI_GUID *Protocol) {
  ++Calls[static_cast<size_t>(Target)];
  // Every pending fault of this service counts the call (one aimed at a
  // protocol only calls about it); the first one due wins.
  EFI_STATUS Injected = EFI_SUCCESS;
  for (auto It = Faults.begin(); It != Faults.end();) {
    const bool Aimed = !It->Protocol || (Protocol != nullptr && SameGuid(*It->Protocol, *Protocol));
    if (It->Target != Target || !Aimed || --It->CallsLeft != 0) {
      ++It;
      continue;
    }
    if (Injected == EFI_SUCCESS) Injected = It->Status;
    It = Faults.erase(It);
  }
  return Injected;
}

EFI_STATUS State::AllocationAllowed() const {
  if (AllocationsLeft && *AllocationsLeft == 0) return EFI_OUT_OF_RESOURCES;
  return EFI_SUCCESS;
}

void State::AllocationSucceeded() {
  if (AllocationsLeft && *AllocationsLeft > 0) --*AllocationsLeft;
}

uint64_t Firmware::Calls(Service Target) const {
  const auto Index = static_cast<size_t>(Target);
  return Index < S->Calls.size() ? S->Calls[Index] : 0;
}

void Firmware::ResetCounters() { S->Calls.fill(0); }

void Firmware::FailNthCall(Service Target, uint64_t N, EFI_STATUS Status) {
  if (N == 0) return;
  S->Faults.push_back(PendingFault{Target, N, Status, std::nullopt});
}

void Firmware::FailNthCall(Service Target, uint64_t N, EFI_STATUS Status, const EFI_GUID &Protocol) {
  if (N == 0) return;
  S->Faults.push_back(PendingFault{Target, N, Status, Protocol});
}

void Firmware::FailAllocationsAfter(uint64_t N) { S->AllocationsLeft = N; }

void Firmware::ClearFaults() {
  S->Faults.clear();
  S->AllocationsLeft.reset();
}

}  // namespace sim

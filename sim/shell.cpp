// The UEFI Shell's protocol, as far as file names need it: the map from
// names such as "fs0:" to device paths.
//
// The Shell makes its map when it starts. It numbers the file-system volumes
// by sorting their device paths in text form, compared unit by unit, so two
// disks whose paths sort one way byte-wise may come out the other way round
// here; that is what the runtime must follow when a Shell is present.
#include "sim/device_path.h"
#include "sim/firmware_state.h"
#include "sim/text.h"

#include <algorithm>
#include <cstdlib>

namespace sim {
namespace {

// As the Shell: the name with or without its colon, letters in any case.
const EFI_DEVICE_PATH_PROTOCOL *EFIAPI GetDevicePathFromMap(const CHAR16 *Mapping) {
  State &S = ActiveState();
  if (Mapping == nullptr) return nullptr;
  std::u16string Name;
  for (size_t Index = 0; Mapping[Index] != 0 && Index < 64; ++Index) Name.push_back(static_cast<char16_t>(Mapping[Index]));
  if (!Name.empty() && Name.back() == u':') Name.pop_back();
  for (size_t Index = 0; Index < S.ShellMap.size(); ++Index) {
    if (!SameNameIgnoringCase(Name, u"fs" + FromUtf8(std::to_string(Index)))) continue;
    return reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL *>(S.ShellMap[Index].data());
  }
  return nullptr;
}

}  // namespace

EFI_HANDLE Firmware::InstallShell() {
  std::vector<std::vector<uint8_t>> Paths;
  for (const auto &V : S->Volumes) Paths.push_back(V->DevicePath);
  std::stable_sort(Paths.begin(), Paths.end(), [](const std::vector<uint8_t> &A, const std::vector<uint8_t> &B) {
    return DevicePathText(A.data()) < DevicePathText(B.data());
  });
  S->ShellMap = std::move(Paths);
  // While it is installed, a second call only makes the map again.
  if (S->ShellHandle != nullptr) return S->ShellHandle;
  if (S->Shell == nullptr) {
    S->Shell = std::make_unique<EFI_SHELL_PROTOCOL>();
    *S->Shell = EFI_SHELL_PROTOCOL{};
    S->Shell->GetDevicePathFromMap = GetDevicePathFromMap;
    S->Shell->MajorVersion = 2;
    S->Shell->MinorVersion = 2;
  }
  if (InstallInterface(*S, &S->ShellHandle, ShellProtocolGuid, S->Shell.get()) != EFI_SUCCESS) std::abort();
  return S->ShellHandle;
}

void Firmware::RemoveShell() {
  if (S->ShellHandle == nullptr) return;
  RemoveHandle(*S, S->ShellHandle);
  S->ShellHandle = nullptr;
}

}  // namespace sim

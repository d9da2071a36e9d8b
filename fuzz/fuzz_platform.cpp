#include "fuzz/fuzz_platform.h"

#include "driver/image_state.h"
#include "forms/framework_hii.h"
#include "fuzz/seed_guids.h"
#include "platform/sample_platform.h"
#include "runtime/crt.h"
#include "sim/temp_folder.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace fuzz {
namespace {

sim::Firmware *Build() {
  // The platform lives as long as the fuzzing process; its folder is
  // removed when the process exits.
  static sim::TempFolder Folder("bioscfg-fuzz");
  if (Folder.Path().empty()) std::abort();
  auto *Fw = new sim::Firmware();
  EFI_HANDLE Volume = Fw->MountVolume(Folder.Path());
  EFI_HANDLE Image = Fw->CreateLoadedImage(Volume, u"\\forms_fuzz.efi");
  if (Image == nullptr || crt::Startup(Image, Fw->SystemTable()) != EFI_SUCCESS) std::abort();
  gImage.SystemTableCopy = *Fw->SystemTable();

  // Values the seeds' questions and conditions read, under the GUIDs the
  // seeds use; "Large" is over the 4096-byte read limit.
  std::vector<uint8_t> Setup(64);
  for (size_t I = 0; I < Setup.size(); ++I) Setup[I] = static_cast<uint8_t>(I % 3);
  for (const EFI_GUID &Guid : {kSeedFormSetGuid, kSeedOtherGuid}) {
    Fw->PutVariable(u"Setup", Guid, 0x7, Setup);
    Fw->PutVariable(u"Other", Guid, 0x3, {1, 0, 1, 0});
    Fw->PutVariable(u"Large", Guid, 0x7, std::vector<uint8_t>(5000, 1));
  }
  for (const platform::PlatformVariable &V : platform::Sample().Variables) {
    Fw->PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  }
  Fw->InstallHii({}, gFrameworkHiiProtocolGuid, 1);
  return Fw;
}

}  // namespace

sim::Firmware &Platform() {
  static sim::Firmware *Fw = Build();
  return *Fw;
}

}  // namespace fuzz

#include "fuzz/fuzz_platform.h"

#include "driver/image_state.h"
#include "runtime/crt.h"
#include "sim/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fuzz {

Machine &TheMachine() {
  static Machine *Made = [] {
    static sim::TempFolder Folder("bioscfg-fuzz");
    if (Folder.Path().empty()) std::abort();
    std::filesystem::create_directories(Folder.Path() + "/tools");
    auto *Fw = new sim::Firmware();
    EFI_HANDLE Volume = Fw->MountVolume(Folder.Path());
    EFI_HANDLE Image = Fw->CreateLoadedImage(Volume, u"\\tools\\fuzz.efi");
    if (Image == nullptr || crt::Startup(Image, Fw->SystemTable()) != EFI_SUCCESS) std::abort();
    gImage.SystemTableCopy = *Fw->SystemTable();
    return new Machine{*Fw, Folder.Path(), Image};
  }();
  return *Made;
}

int WriteSeedsWhenAsked(void (*Write)(const char *Folder)) {
  const char *Folder = std::getenv("FUZZ_WRITE_SEEDS");
  if (Folder == nullptr) return 0;
  Write(Folder);
  std::exit(0);
}

void WriteSeed(const char *Folder, const std::string &Name, const std::string &Bytes) {
  std::filesystem::create_directories(Folder);
  std::ofstream(std::string(Folder) + "/" + Name, std::ios::binary) << Bytes;
}

std::u16string WideText(const CHAR16 *Text, size_t MaxUnits) {
  std::u16string Out;
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Text);
  for (size_t I = 0; Text != nullptr && I < MaxUnits && (Bytes[2 * I] != 0 || Bytes[2 * I + 1] != 0); ++I) {
    Out.push_back(static_cast<char16_t>(Bytes[2 * I] | Bytes[2 * I + 1] << 8));
  }
  return Out;
}

}  // namespace fuzz

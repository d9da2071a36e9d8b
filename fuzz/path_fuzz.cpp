// libFuzzer target: the contents of TORVEL_PATH and the resolution of file
// names.
//
// An input is a flags byte, then the raw data of the TORVEL_PATH variable
// (as a Shell or any other tool may have stored it: UCS-2 or 8-bit, with or
// without a terminator), a zero byte, and an 8-bit file name. Flag bit 0
// installs the UEFI Shell's protocol, whose map numbers the three volumes
// otherwise than their device paths' byte order does. Each input restarts
// the runtime (the environment is built at start-up), loads the catalog
// from TORVEL_PATH, opens the file name for reading and reads a little,
// and builds its device path, whose every byte is then read. Nothing may be
// left in the pool once the runtime has shut down.
#include "fuzz/fuzz_platform.h"
#include "messages/message_catalog.h"
#include "runtime/crt.h"
#include "runtime/volumes.h"
#include "sim/device_path.h"
#include "tests/messages/catalog_bytes.h"
#include "tools/strc/catalog_image.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr uint8_t FLAG_SHELL = 0x01;

void Put(const std::string &Path, const std::string &Bytes) {
  std::filesystem::create_directories(std::filesystem::path(Path).parent_path());
  std::ofstream(Path, std::ios::binary) << Bytes;
}

// fs0: the machine's own folder (a vendor node), with the catalog in
// \tools; two disks at PciRoot(0x0)/Pci(0x2,0x0) and Pci(0x10,0x0), which a
// Shell numbers fs0: and fs1: and byte order numbers fs1: and fs2:.
sim::Firmware &Machine() {
  static sim::Firmware &Fw = []() -> sim::Firmware & {
    fuzz::Machine &Made = fuzz::TheMachine();
    const std::vector<uint8_t> Catalog = strc::BuildCatalogImage({u"a", u"b %ls"});
    Put(Made.Folder + "/tools/bioscfg.str", std::string(Catalog.begin(), Catalog.end()));
    Put(Made.Folder + "/disk-a/tools/bioscfg.str", std::string(Catalog.begin(), Catalog.end()));
    Put(Made.Folder + "/disk-b/x/y.txt", "y");
    Made.Fw.MountVolume(Made.Folder + "/disk-a", sim::PciDevicePath(0x2));
    Made.Fw.MountVolume(Made.Folder + "/disk-b", sim::PciDevicePath(0x10));
    return Made.Fw;
  }();
  return Fw;
}

// Reads every byte of a device path the runtime built, up to its end node.
void TouchDevicePath(const EFI_DEVICE_PATH *Path) {
  const size_t Bytes = crt::detail::DevicePathBytes(Path);
  if (Bytes == 0) std::abort();  // the runtime's own paths are well formed
  volatile uint8_t Sum = 0;
  for (size_t I = 0; I < Bytes; ++I) Sum = Sum + reinterpret_cast<const uint8_t *>(Path)[I];
}

void WriteSeeds(const char *Folder) {
  auto Ucs2 = [](const std::string &Text) {
    std::string Out;
    for (char C : Text) Out += std::string{C, '\0'};
    return Out;
  };
  const std::string Zero(1, '\0');
  fuzz::WriteSeed(Folder, "shell_fs0", "\x01" + Ucs2("fs0:\\tools") + Zero + "fs1:\\x\\y.txt");
  fuzz::WriteSeed(Folder, "no_shell", "\x00" + Ucs2("fs1:\\tools") + Zero + "fs2:/x//y.txt");
  fuzz::WriteSeed(Folder, "narrow_path", std::string("\x01") + "fs1:\\tools" + Zero + Zero + "tools\\bioscfg.str");
  fuzz::WriteSeed(Folder, "trailing_separator", "\x00" + Ucs2("FS0:\\tools\\") + Zero + "\\tools\\..\\x");
  fuzz::WriteSeed(Folder, "no_volume", "\x00" + Ucs2("tools") + Zero + "bioscfg.str");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) { return fuzz::WriteSeedsWhenAsked(WriteSeeds); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  if (Size == 0) return 0;
  sim::Firmware &Fw = Machine();
  if ((Data[0] & FLAG_SHELL) != 0) {
    Fw.InstallShell();
  } else {
    Fw.RemoveShell();
  }
  const uint8_t *Rest = Data + 1;
  const uint8_t *End = Data + Size;
  const uint8_t *Separator = static_cast<const uint8_t *>(std::memchr(Rest, 0, static_cast<size_t>(End - Rest)));
  const uint8_t *PathEnd = Separator != nullptr ? Separator : End;
  Fw.PutVariable(u"TORVEL_PATH", sim::ShellVariableGuid, EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                 std::vector<uint8_t>(Rest, PathEnd));
  const std::string Name = Separator != nullptr ? std::string(Separator + 1, End) : std::string();

  crt::Shutdown();
  if (Fw.LivePoolBlocks() != 0 || Fw.LivePageRuns() != 0) std::abort();
  if (crt::Startup(fuzz::TheMachine().Image, Fw.SystemTable()) != EFI_SUCCESS) std::abort();
  {
    MessageCatalog Catalog;
    (void)Catalog.Load(W(u"/bioscfg.str"), 0);
  }
  if (crt::FILE *File = crt::fopen(Name.c_str(), "r")) {
    char Bytes[16];
    (void)crt::fread(Bytes, 1, sizeof Bytes, File);
    (void)crt::fclose(File);
  }
  if (EFI_DEVICE_PATH *Path = crt::FileDevicePathOf(Name.c_str())) {
    TouchDevicePath(Path);
    crt::FreeDevicePath(Path);
  }
  return 0;
}

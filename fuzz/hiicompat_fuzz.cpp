// libFuzzer target: the compatibility image's translator. The input is what
// the firmware's HII database exports (package lists back to back), served
// by the simulated ExportPackageLists; hiicompat, loaded once, builds a
// Framework export from it through its ExportDatabase, as the driver asks
// for one. The export must be well formed (its tables inside it), and every
// pool block of the translation must be back afterwards.
#include "fuzz/fuzz_platform.h"
#include "tools/uefihii/example_lists.h"
#include "simimages/images.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

constexpr EFI_GUID FRAMEWORK_HII = {0xEA816D2C, 0xCEE5, 0x4F02, {0x99, 0xB5, 0xD3, 0x90, 0x5C, 0xBB, 0xD0, 0x77}};
constexpr uint64_t ALLOCATIONS_PER_INPUT = 100000;

struct Hii {
  void *Entries[3];
  EFI_STATUS(EFIAPI *ExportDatabase)(void *This, UINT16 Handle, UINTN *Size, VOID *Buffer);
};

Hii *Loaded() {
  static Hii *Protocol = [] {
    sim::Firmware &Fw = fuzz::TheMachine().Fw;
    Fw.RemoveRootDeviceIo();
    Fw.InstallUefiHii();
    Fw.InstallPciRootBridge();
    Fw.AddStoreOwner(uefihii::VendorDevicePath(uefihii::kExampleOwnerGuid),
                     {sim::BufferStore{uefihii::kExampleStoreGuid, u"Conf", std::vector<uint8_t>(32, 1)}});
    EFI_HANDLE Handle = nullptr;
    if (!Fw.InstallImage("fs0:\\tools\\hiicompat.efi", simimages::HiiCompatImage()) ||
        Fw.LoadAndStart("fs0:\\tools\\hiicompat.efi", &Handle) != EFI_SUCCESS)
      std::abort();
    return static_cast<Hii *>(Fw.FindProtocol(Handle, FRAMEWORK_HII));
  }();
  return Protocol;
}

uint32_t Le32(const std::vector<uint8_t> &B, size_t At) {
  return B[At] | (B[At + 1] << 8) | (B[At + 2] << 16) | (static_cast<uint32_t>(B[At + 3]) << 24);
}

// The header's count of tables, each inside the export where the last ends.
void CheckExport(const std::vector<uint8_t> &Export) {
  if (Export.size() < 18) std::abort();
  const size_t Tables = Export[0] | (Export[1] << 8);
  size_t At = 18;
  for (size_t Index = 0; Index < Tables; ++Index) {
    if (At + 46 > Export.size()) std::abort();
    const uint32_t Size = Le32(Export, At + 18);
    if (Size < 46 || Size > Export.size() - At) std::abort();
    At += Size;
  }
  if (At != Export.size()) std::abort();
}

void WriteSeeds(const char *Folder) {
  for (const auto &[Name, Bytes] : uefihii::ExampleExports())
    fuzz::WriteSeed(Folder, Name, std::string(Bytes.begin(), Bytes.end()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) { return fuzz::WriteSeedsWhenAsked(WriteSeeds); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  Hii *Protocol = Loaded();
  sim::Firmware &Fw = fuzz::TheMachine().Fw;
  Fw.ServeRawPackageLists(std::vector<uint8_t>(Data, Data + Size));
  const size_t PoolBlocks = Fw.LivePoolBlocks();
  Fw.FailAllocationsAfter(ALLOCATIONS_PER_INPUT);
  UINTN Needed = 0;
  EFI_STATUS Status = Protocol->ExportDatabase(Protocol, 0, &Needed, nullptr);
  // A measuring call keeps nothing, whatever the input or a failed allocation.
  if (Fw.LivePoolBlocks() != PoolBlocks) std::abort();
  if (Status == EFI_BUFFER_TOO_SMALL) {
    std::vector<uint8_t> Export(Needed);
    UINTN Got = Needed;
    Status = Protocol->ExportDatabase(Protocol, 0, &Got, Export.data());
    if (Status == EFI_SUCCESS) {
      if (Got != Needed) std::abort();  // the database did not change between the calls
      CheckExport(Export);
    }
  }
  Fw.ClearFaults();
  return 0;
}

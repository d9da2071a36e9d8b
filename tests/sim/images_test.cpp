// Image services: LoadImage by file name, StartImage and Exit unwinding,
// the unload of failed images, and UnloadImage through the image's handler.
#include "sim/device_path.h"
#include "tests/sim/platform_helpers.h"
#include "tests/support/sim_fixture.h"

namespace {

// What the test images saw; reset by each test.
struct ImageLog {
  int Resets = 0, Entries = 0, Unloads = 0;
  bool RanPastExit = false;
  EFI_STATUS UnloadResult = EFI_SUCCESS, InnerResult = EFI_SUCCESS;
} gLog;
EFI_GUID gMarker = MakeGuid(0x77);
int gMarkerInterface;

void CountReset() { ++gLog.Resets; }

EFI_STATUS ExitingEntry(EFI_HANDLE Image, EFI_SYSTEM_TABLE *System) {
  ++gLog.Entries;
  System->BootServices->Exit(Image, EFI_ABORTED, 0, nullptr);
  gLog.RanPastExit = true;
  return EFI_SUCCESS;
}

EFI_STATUS FailingEntry(EFI_HANDLE, EFI_SYSTEM_TABLE *) { return ++gLog.Entries, EFI_UNSUPPORTED; }

EFI_STATUS EFIAPI CountingUnload(EFI_HANDLE) { return ++gLog.Unloads, gLog.UnloadResult; }

EFI_LOADED_IMAGE *LoadedImageOf(EFI_HANDLE Image) {
  return static_cast<EFI_LOADED_IMAGE *>(sim::Firmware::Active()->FindProtocol(Image, gEfiLoadedImageProtocolGuid));
}

EFI_STATUS ResidentEntry(EFI_HANDLE Image, EFI_SYSTEM_TABLE *System) {
  ++gLog.Entries;
  LoadedImageOf(Image)->Unload = CountingUnload;
  return System->BootServices->InstallProtocolInterface(&Image, &gMarker, EFI_NATIVE_INTERFACE, &gMarkerInterface);
}

// Starts exiting.efi from inside its own entry point: the inner Exit must
// unwind only the inner StartImage.
EFI_STATUS NestingEntry(EFI_HANDLE Image, EFI_SYSTEM_TABLE *System) {
  ++gLog.Entries;
  EFI_HANDLE Inner = nullptr;
  EFI_STATUS Status = sim::Firmware::Active()->LoadImageFile("fs0:\\exiting.efi", &Inner);
  if (EFI_ERROR(Status) || LoadedImageOf(Inner)->ParentHandle != Image) return EFI_LOAD_ERROR;
  gLog.InnerResult = System->BootServices->StartImage(Inner, nullptr, nullptr);
  return EFI_SUCCESS;
}

class ImageTest : public PlatformTest {
 protected:
  TempFolder Folder;
  EFI_HANDLE Volume = nullptr;

  void SetUp() override {
    gLog = ImageLog{};
    Volume = Fw.MountVolume(Folder.Path());
    ASSERT_TRUE(Fw.InstallImage("fs0:\\exiting.efi", {"exiting.efi", ExitingEntry, CountReset}));
    ASSERT_TRUE(Fw.InstallImage("fs0:\\failing.efi", {"failing.efi", FailingEntry, CountReset}));
    ASSERT_TRUE(Fw.InstallImage("fs0:\\resident.efi", {"Resident.EFI", ResidentEntry, CountReset}));
    ASSERT_TRUE(Fw.InstallImage("fs0:\\Tools\\resident.efi", {"Resident.EFI", ResidentEntry, CountReset}));
    ASSERT_TRUE(Fw.InstallImage("fs0:\\nesting.efi", {"nesting.efi", NestingEntry, nullptr}));
  }
};

TEST_F(ImageTest, LoadImageDescribesTheImageFileWithoutStartingIt) {
  EFI_HANDLE Image = nullptr;
  ASSERT_EQ(Fw.LoadImageFile("FS0:/Tools/RESIDENT.efi", &Image), EFI_SUCCESS) << "any folder, any case";
  EFI_LOADED_IMAGE *Loaded = LoadedImageOf(Image);
  ASSERT_NE(Loaded, nullptr);
  EXPECT_EQ(Loaded->DeviceHandle, Volume);
  EXPECT_EQ(sim::FilePathText(Loaded->FilePath), std::u16string(u"\\Tools\\RESIDENT.efi"));
  EXPECT_EQ(gLog.Resets, 1) << "fresh image data on load";
  EXPECT_EQ(gLog.Entries, 0) << "loading does not start";
  EFI_HANDLE Second = nullptr;
  ASSERT_EQ(Fw.LoadImageFile("resident.efi", &Second), EFI_SUCCESS);
  EXPECT_EQ(gLog.Resets, 1) << "a second copy shares the first one's data";
  EXPECT_EQ(Fw.LoadImageFile("fs0:\\absent.efi", &Image), EFI_NOT_FOUND);
  // A registered image is found only where its file lies, as firmware reads
  // it from the volume.
  EXPECT_EQ(Fw.LoadImageFile("fs0:\\Elsewhere\\resident.efi", &Image), EFI_NOT_FOUND);
}

TEST_F(ImageTest, ExitUnwindsOnlyTheInnermostStartImage) {
  const size_t Before = Fw.HandleCount();
  EFI_HANDLE Image = nullptr;
  EXPECT_EQ(Fw.LoadAndStart("exiting.efi", &Image), EFI_ABORTED);
  EXPECT_FALSE(gLog.RanPastExit);
  EXPECT_FALSE(Fw.IsImageLoaded(Image)) << "an image ending in error is unloaded";
  EXPECT_EQ(Fw.HandleCount(), Before);

  EFI_HANDLE Outer = nullptr;
  EXPECT_EQ(Fw.LoadAndStart("nesting.efi", &Outer), EFI_SUCCESS);
  EXPECT_EQ(gLog.InnerResult, EFI_ABORTED);
  EXPECT_EQ(gLog.Entries, 3);
  EXPECT_TRUE(Fw.IsImageLoaded(Outer));
  EXPECT_EQ(BS()->Exit(Outer, EFI_SUCCESS, 0, nullptr), EFI_INVALID_PARAMETER) << "not running any more";
  EXPECT_EQ(Fw.LoadAndStart("failing.efi", &Image), EFI_UNSUPPORTED);
  EXPECT_FALSE(Fw.IsImageLoaded(Image)) << "a failed entry point takes the handle away";
}

TEST_F(ImageTest, UnloadGoesThroughTheImagesHandler) {
  EFI_HANDLE Image = nullptr;
  ASSERT_EQ(Fw.LoadAndStart("resident.efi", &Image), EFI_SUCCESS);
  EXPECT_EQ(Fw.StartImage(Image), EFI_INVALID_PARAMETER) << "already started";
  EXPECT_EQ(Fw.FindProtocol(Image, gMarker), &gMarkerInterface);
  gLog.UnloadResult = EFI_ACCESS_DENIED;
  EXPECT_EQ(Fw.UnloadImage(Image), EFI_ACCESS_DENIED);
  EXPECT_TRUE(Fw.IsImageLoaded(Image)) << "a refused unload keeps the image";
  gLog.UnloadResult = EFI_SUCCESS;
  EXPECT_EQ(Fw.UnloadImage(Image), EFI_SUCCESS);
  EXPECT_EQ(gLog.Unloads, 2);
  EXPECT_FALSE(Fw.IsImageLoaded(Image));
  EXPECT_EQ(Fw.FindProtocol(Image, gMarker), nullptr);
  ASSERT_EQ(Fw.LoadAndStart("resident.efi", &Image), EFI_SUCCESS) << "loadable again";
  EXPECT_EQ(gLog.Resets, 2);

  ASSERT_EQ(Fw.LoadAndStart("nesting.efi", &Image), EFI_SUCCESS);
  EXPECT_EQ(Fw.UnloadImage(Image), EFI_UNSUPPORTED) << "started, without an unload handler";
  ASSERT_EQ(Fw.LoadImageFile("resident.efi", &Image), EFI_SUCCESS);
  EXPECT_EQ(Fw.UnloadImage(Image), EFI_SUCCESS) << "an image never started just goes";
  EXPECT_EQ(gLog.Unloads, 2);
}

TEST_F(ImageTest, LoadImageArguments) {
  EFI_HANDLE Image = nullptr;
  sim::DevicePathBytes Path = sim::AppendDevicePath(sim::VolumeDevicePath(0), sim::FilePathDevicePath(u"\\exiting.efi"));
  auto *DevicePath = reinterpret_cast<EFI_DEVICE_PATH *>(Path.data());
  EXPECT_EQ(BS()->LoadImage(FALSE, nullptr, DevicePath, nullptr, 0, &Image), EFI_INVALID_PARAMETER) << "no parent";
  EFI_HANDLE Parent = Fw.CreateLoadedImage(Volume, u"\\parent.efi");
  EXPECT_EQ(BS()->LoadImage(FALSE, Parent, DevicePath, nullptr, 0, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->LoadImage(FALSE, Parent, nullptr, nullptr, 0, &Image), EFI_NOT_FOUND);
  ASSERT_EQ(BS()->LoadImage(FALSE, Parent, DevicePath, nullptr, 0, &Image), EFI_SUCCESS);
  EXPECT_EQ(LoadedImageOf(Image)->ParentHandle, Parent);
}

}  // namespace

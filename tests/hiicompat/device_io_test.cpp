// hiicompat's EFI_DEVICE_IO_PROTOCOL: accesses reach the PCI root bridge's
// spaces, widths and addresses as EFI 1.10 defines them, and PciDevicePath
// follows bridges down to the bus.
#include "tests/hiicompat/modern_platform.h"

#include <cstring>

namespace compat_test {
namespace {

constexpr EFI_GUID kDeviceIoGuid = DEVICE_IO_PROTOCOL;

class DeviceIoTest : public CompatImageTest {
 protected:
  EFI_DEVICE_IO_PROTOCOL *Io = nullptr;
  void SetUp() override {
    CompatImageTest::SetUp();
    // A bridge at 00:1c.0 to buses 2..4, and one at 02:00.0 to bus 3.
    Fw().RootBridge().Config[(0 << 16) | (0x1C << 8) | 0] = Bridge(2, 4);
    Fw().RootBridge().Config[(2 << 16) | (0 << 8) | 0] = Bridge(3, 3);
    ASSERT_EQ(Load(), EFI_SUCCESS);
    Io = static_cast<EFI_DEVICE_IO_PROTOCOL *>(Fw().FindProtocol(Compat(), kDeviceIoGuid));
    ASSERT_NE(Io, nullptr);
  }
  static std::vector<uint8_t> Bridge(uint8_t Secondary, uint8_t Subordinate) {
    std::vector<uint8_t> Space(256, 0);
    Space[0x0E] = 0x01;  // header type: PCI-to-PCI bridge
    Space[0x19] = Secondary;
    Space[0x1A] = Subordinate;
    return Space;
  }
};

TEST_F(DeviceIoTest, AccessesReachTheRootBridge) {
  sim::PciRootBridgeSpaces &Spaces = Fw().RootBridge();
  uint32_t Word = 0xA1B2C3D4;
  ASSERT_EQ(Io->Mem.Write(Io, IO_UINT32, Spaces.MmioBase + 0x40, 1, &Word), EFI_SUCCESS);
  EXPECT_EQ(Spaces.Mmio[0x40], 0xD4);
  uint16_t Half = 0;
  ASSERT_EQ(Io->Mem.Read(Io, IO_UINT16, Spaces.MmioBase + 0x42, 1, &Half), EFI_SUCCESS);
  EXPECT_EQ(Half, 0xA1B2);
  uint8_t Port = 0x5A;
  ASSERT_EQ(Io->Io.Write(Io, IO_UINT8, 0x80, 1, &Port), EFI_SUCCESS);
  EXPECT_EQ(Spaces.Io[0x80], 0x5A);
  uint8_t Secondary = 0;
  ASSERT_EQ(Io->Pci.Read(Io, IO_UINT8, EFI_PCI_ADDRESS(0, 0x1C, 0) | 0x19, 1, &Secondary), EFI_SUCCESS);
  EXPECT_EQ(Secondary, 2);
  // MMIO to MMIO: a write copies from the address the buffer holds.
  ASSERT_EQ(Io->Mem.Write(Io, MMIO_COPY_UINT8, Spaces.MmioBase + 0x80,
                          4, reinterpret_cast<VOID *>(Spaces.MmioBase + 0x40)),
            EFI_SUCCESS);
  EXPECT_EQ(std::vector<uint8_t>(&Spaces.Mmio[0x80], &Spaces.Mmio[0x84]), (std::vector<uint8_t>{0xD4, 0xC3, 0xB2, 0xA1}));
  EXPECT_EQ(Io->Io.Write(Io, MMIO_COPY_UINT8, 0x80, 1, &Port), EFI_INVALID_PARAMETER) << "copy widths are memory only";
  EXPECT_EQ(Io->Mem.Read(Io, static_cast<EFI_IO_WIDTH>(9), Spaces.MmioBase, 1, &Port), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Io->Mem.Read(Io, IO_UINT8, 0x1000, 1, &Port), EFI_INVALID_PARAMETER) << "the bridge's own refusal";
}

TEST_F(DeviceIoTest, PciDevicePathFollowsTheBridges) {
  EFI_DEVICE_PATH *Path = nullptr;
  ASSERT_EQ(Io->PciDevicePath(Io, EFI_PCI_ADDRESS(3, 5, 1), &Path), EFI_SUCCESS);
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Path);
  // PciRoot(0x0) (12 bytes), Pci(0x1C,0x0), Pci(0x0,0x0), Pci(0x5,0x1), end.
  const std::vector<uint8_t> Nodes(Bytes + 12, Bytes + 12 + 3 * 6 + 4);
  EXPECT_EQ(Nodes, (std::vector<uint8_t>{1, 1, 6, 0, 0, 0x1C, 1, 1, 6, 0, 0, 0, 1, 1, 6, 0, 1, 5, 0x7F, 0xFF, 4, 0}));
  EXPECT_EQ(Bytes[0], 2) << "starts at the root bridge's ACPI node";
  EXPECT_EQ(Fw().SystemTable()->BootServices->FreePool(Path), EFI_SUCCESS) << "pool memory the caller frees";
  EXPECT_EQ(Io->PciDevicePath(Io, EFI_PCI_ADDRESS(9, 0, 0), &Path), EFI_NOT_FOUND) << "no bridge leads to bus 9";
}

TEST_F(DeviceIoTest, BuffersComeFromBelowFourGiB) {
  EFI_PHYSICAL_ADDRESS Address = 0;
  ASSERT_EQ(Io->AllocateBuffer(Io, AllocateAnyPages, EfiBootServicesData, 2, &Address), EFI_SUCCESS);
  EXPECT_LT(Address, 0x100000000ull);
  EXPECT_EQ(Io->FreeBuffer(Io, 2, Address), EFI_SUCCESS);
  EXPECT_EQ(Io->AllocateBuffer(Io, AllocateAnyPages, EfiLoaderCode, 1, &Address), EFI_INVALID_PARAMETER);
  EFI_PHYSICAL_ADDRESS Host = 0x12345000;
  EFI_PHYSICAL_ADDRESS Device = 0;
  UINTN Bytes = 4096;
  VOID *Mapping = nullptr;
  ASSERT_EQ(Io->Map(Io, EfiBusMasterRead, &Host, &Bytes, &Device, &Mapping), EFI_SUCCESS);
  EXPECT_EQ(Device, Host) << "the simulated bridge maps one to one";
  EXPECT_EQ(Io->Unmap(Io, Mapping), EFI_SUCCESS);
}

}  // namespace
}  // namespace compat_test

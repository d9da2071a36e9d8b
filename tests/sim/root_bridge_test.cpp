// The simulated PCI root bridge: its three spaces, the width kinds (plain,
// FIFO, fill) and the accesses a root bridge refuses.
#include "tests/sim/platform_helpers.h"

extern "C" {
#include <efipciio.h>
}

namespace {

class RootBridgeTest : public PlatformTest {
 protected:
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *Bridge = nullptr;
  void SetUp() override {
    const EFI_HANDLE Handle = Fw.InstallPciRootBridge();
    Bridge = static_cast<EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *>(Fw.FindProtocol(Handle, gEfiPciRootBridgeIoProtocolGuid));
    ASSERT_NE(Bridge, nullptr);
    EXPECT_EQ(Fw.InstallPciRootBridge(), Handle);
  }
};

TEST_F(RootBridgeTest, MemoryAndPortAccessesReachTheirSpaces) {
  sim::PciRootBridgeSpaces &Spaces = Fw.RootBridge();
  uint32_t Words[2] = {0x11223344, 0x55667788};
  ASSERT_EQ(Bridge->Mem.Write(Bridge, EfiPciIoWidthUint32, Spaces.MmioBase + 8, 2, Words), EFI_SUCCESS);
  EXPECT_EQ(Spaces.Mmio[8], 0x44);
  EXPECT_EQ(Spaces.Mmio[15], 0x55);
  uint16_t Half = 0;
  ASSERT_EQ(Bridge->Mem.Read(Bridge, EfiPciIoWidthUint16, Spaces.MmioBase + 10, 1, &Half), EFI_SUCCESS);
  EXPECT_EQ(Half, 0x1122);

  uint8_t Fifo[3] = {1, 2, 3};
  ASSERT_EQ(Bridge->Io.Write(Bridge, EfiPciIoWidthFifoUint8, 0x80, 3, Fifo), EFI_SUCCESS);
  EXPECT_EQ(Spaces.Io[0x80], 3) << "a FIFO write keeps the port";
  EXPECT_EQ(Spaces.Io[0x81], 0);
  uint8_t Fill = 0xAB;
  ASSERT_EQ(Bridge->Io.Write(Bridge, EfiPciIoWidthFillUint8, 0x90, 4, &Fill), EFI_SUCCESS);
  EXPECT_EQ(Spaces.Io[0x93], 0xAB) << "a fill write moves the port and keeps the byte";

  EXPECT_EQ(Bridge->Mem.Read(Bridge, EfiPciIoWidthUint32, Spaces.MmioBase - 4, 1, Words), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Bridge->Mem.Write(Bridge, EfiPciIoWidthUint8, Spaces.MmioBase + Spaces.Mmio.size() - 1, 2, Fifo),
            EFI_INVALID_PARAMETER)
      << "an access that runs out of the window changes nothing";
  EXPECT_EQ(Spaces.Mmio.back(), 0);
  EXPECT_EQ(Bridge->Io.Read(Bridge, EfiPciIoWidthUint16, 0x81, 1, &Half), EFI_UNSUPPORTED) << "unaligned";
  EXPECT_EQ(Bridge->Io.Read(Bridge, EfiPciIoWidthMaximum, 0x80, 1, &Half), EFI_INVALID_PARAMETER);
}

TEST_F(RootBridgeTest, ConfigurationSpaceByBusDeviceFunction) {
  std::vector<uint8_t> Space(256, 0);
  Space[0] = 0x86;
  Space[1] = 0x80;
  Fw.RootBridge().Config[(1 << 16) | (2 << 8) | 3] = Space;  // 01:02.3
  const UINT64 Address = (1ull << 24) | (2ull << 16) | (3ull << 8);
  uint16_t Vendor = 0;
  ASSERT_EQ(Bridge->Pci.Read(Bridge, EfiPciIoWidthUint16, Address, 1, &Vendor), EFI_SUCCESS);
  EXPECT_EQ(Vendor, 0x8086);
  uint32_t Missing = 0;
  ASSERT_EQ(Bridge->Pci.Read(Bridge, EfiPciIoWidthUint32, (5ull << 16), 1, &Missing), EFI_SUCCESS);
  EXPECT_EQ(Missing, 0xFFFFFFFFu) << "no function there";
  uint8_t Byte = 0x5A;
  ASSERT_EQ(Bridge->Pci.Write(Bridge, EfiPciIoWidthUint8, Address | 0x3C, 1, &Byte), EFI_SUCCESS);
  EXPECT_EQ(Fw.RootBridge().Config[(1 << 16) | (2 << 8) | 3][0x3C], 0x5A);
  EXPECT_EQ(Bridge->Pci.Read(Bridge, EfiPciIoWidthUint32, Address | 0xFE, 1, &Missing), EFI_UNSUPPORTED);
  EXPECT_EQ(Bridge->Pci.Read(Bridge, EfiPciIoWidthUint32, Address | 0xFC, 2, &Missing), EFI_INVALID_PARAMETER)
      << "past the function's 256 bytes";
}

}  // namespace

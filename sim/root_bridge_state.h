// The simulated PCI root bridge's state (pci_root_bridge.cpp).
#pragma once

#include "sim/firmware_state.h"

extern "C" {
#include <efipciio.h>
}

namespace sim {

struct RootBridgeState {
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL Protocol{};
  EFI_HANDLE Handle = nullptr;
  std::vector<uint8_t> DevicePath;
  PciRootBridgeSpaces Spaces;
  std::map<uint64_t, uint64_t> Mappings;  // mapping token -> host address
  uint64_t NextMapping = 1;
};

}  // namespace sim

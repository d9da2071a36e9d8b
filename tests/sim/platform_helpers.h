// Small helpers shared by the simulator's tests: a platform per test and
// typed access to its service tables.
#pragma once

#include "sim/firmware.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class PlatformTest : public ::testing::Test {
 protected:
  sim::Firmware Fw;
  EFI_BOOT_SERVICES *BS() { return Fw.SystemTable()->BootServices; }
  EFI_RUNTIME_SERVICES *RT() { return Fw.SystemTable()->RuntimeServices; }
};

inline CHAR16 *Wide(std::u16string &Text) { return reinterpret_cast<CHAR16 *>(Text.data()); }

inline EFI_GUID MakeGuid(uint32_t First) { return EFI_GUID{First, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}}; }

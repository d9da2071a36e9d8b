// IniTest: the driver and its parser image in the simulated machine, with
// the INI files in the TORVEL_PATH folder (fs0:\tools) at hand.
#pragma once

#include "tests/settings/settings_fixture.h"

#include <string>

class IniTest : public SettingsTest {
 protected:
  void PreparePlatform() override;
  // The parser image stays resident, holding its index.
  size_t PoolBlocksOfOtherImages() override;

  EFI_STATUS Save(const char *Name) { return Proto()->SaveSettingsToIni(Proto(), const_cast<CHAR8 *>(Bytes(Name))); }
  EFI_STATUS Load(const char *Name) { return Proto()->LoadSettingsFromIni(Proto(), const_cast<CHAR8 *>(Bytes(Name))); }
  std::string ReadIni(const std::string &Name);
  void WriteIni(const std::string &Name, const std::string &Text);
  uint64_t ParserLoads() { return Fw().Calls(sim::Service::LoadImage); }

 private:
  static const CHAR8 *Bytes(const char *Name) { return reinterpret_cast<const CHAR8 *>(Name); }
};

#include "tests/ini/ini_fixture.h"

#include "simimages/images.h"

#include <fstream>
#include <sstream>

// The parser image's own copy of the runtime (see cmake/host_image.cmake).
namespace iniparse_crt {
size_t LiveBlockCount();
}

size_t IniTest::PoolBlocksOfOtherImages() { return iniparse_crt::LiveBlockCount(); }

void IniTest::PreparePlatform() {
  SettingsTest::PreparePlatform();
  ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\iniparse.efi", simimages::IniparseImage()));
}

std::string IniTest::ReadIni(const std::string &Name) {
  std::ifstream In(ToolsDir() + "/" + Name, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

void IniTest::WriteIni(const std::string &Name, const std::string &Text) {
  std::ofstream Out(ToolsDir() + "/" + Name, std::ios::binary | std::ios::trunc);
  Out << Text;
}

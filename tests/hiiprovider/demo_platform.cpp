#include "tests/hiiprovider/demo_platform.h"

#include "hiibuild/host/hii_export_builder.h"

#include <fstream>

const EFI_GUID kDemoFormSetGuid = {0x3d2c8a4e, 0x5b1f, 0x4c70, {0x9e, 0x6a, 0x0f, 0x1d, 0x2c, 0x3b, 0x4a, 0x59}};

std::vector<uint8_t> DemoExport() {
  hiibuild::ExportBuilder Export(hiibuild::ExportHeaderStyle::Extended);
  Export.AddTable(kDemoFormSetGuid)
      .Ifr()
      .FormSet(kDemoFormSetGuid, u"Demo")
      .Form(1, u"Main")
      .OneOfWithOptions(1, 1, u"Boot Beep", {{u"Off", 0}, {u"On", 1}}, 0)
      .EndForm()
      .EndFormSet();
  return Export.Build();
}

std::string DemoVariables() {
  return "# the demo platform\r\n"
         "Setup {3D2C8A4E-5B1F-4C70-9E6A-0F1D2C3B4A59} 0x3 0001\r\n"
         "Extra 3d2c8a4e-5b1f-4c70-9e6a-0f1d2c3b4a59 27 AB\r\n";
}

void WriteHostFile(const std::string &Path, const std::string &Bytes) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
}

void WriteHostFile(const std::string &Path, const std::vector<uint8_t> &Bytes) {
  WriteHostFile(Path, std::string(Bytes.begin(), Bytes.end()));
}

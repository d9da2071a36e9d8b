#include "tools/bioscfg-sim/platform_files.h"

#include "hiibuild/host/hii_export_builder.h"

#include <fstream>

namespace bioscfgsim {

PlatformInput SamplePlatformInput() {
  const auto &Sample = platform::Sample();
  return PlatformInput{Sample.Export, Sample.HiiProtocolGuid, Sample.Variables};
}

EFI_GUID HiiProtocolOf(const std::vector<uint8_t> &Export) {
  if (Export.size() >= 20 &&
      hiibuild::GuidsEqual(hiibuild::GetGuid(Export, 4), gFrameworkHiiLaterProtocolGuid))
    return gFrameworkHiiLaterProtocolGuid;
  return gFrameworkHiiProtocolGuid;
}

bool ReadFileBytes(const std::string &Path, std::vector<uint8_t> &Out, std::string &Error) {
  // In one read: an export runs to megabytes.
  std::ifstream In(Path, std::ios::binary | std::ios::ate);
  if (!In) {
    Error = Path + ": cannot open";
    return false;
  }
  const std::streamoff Size = In.tellg();
  In.seekg(0);
  if (Size < 0 || !In) {
    Error = Path + ": read error";
    return false;
  }
  Out.resize(static_cast<size_t>(Size));
  In.read(reinterpret_cast<char *>(Out.data()), Size);
  if (In.gcount() != Size) {
    Error = Path + ": read error";
    return false;
  }
  return true;
}

bool WriteFileBytes(const std::string &Path, const std::vector<uint8_t> &Bytes, std::string &Error) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out.write(reinterpret_cast<const char *>(Bytes.data()), static_cast<std::streamsize>(Bytes.size()));
  Out.close();
  if (!Out) {
    Error = Path + ": cannot write";
    return false;
  }
  return true;
}

}  // namespace bioscfgsim

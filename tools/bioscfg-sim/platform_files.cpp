#include "tools/bioscfg-sim/platform_files.h"

#include "hiibuild/host/hii_export_builder.h"
#include "platform/variable_store_text.h"

#include <cstdio>
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

namespace {

// Collects the reader's variables; they live only during the callback.
void KeepVariable(void *Context, const platform::StoreVariable &V) {
  auto &Out = *static_cast<std::vector<platform::PlatformVariable> *>(Context);
  platform::PlatformVariable Kept;
  Kept.Name.assign(reinterpret_cast<const char16_t *>(V.Name), V.NameLength);
  Kept.Guid = V.Guid;
  Kept.Attributes = V.Attributes;
  Kept.Data.assign(V.Data, V.Data + V.DataSize);
  Out.push_back(std::move(Kept));
}

}  // namespace

bool ParseVariableStore(const std::string &Text, std::vector<platform::PlatformVariable> &Out,
                        std::string &Error) {
  Out.clear();
  std::vector<CHAR16> Name(platform::VARIABLE_STORE_MAX_NAME + 1);
  std::vector<UINT8> Data(platform::VARIABLE_STORE_MAX_DATA);
  const platform::VariableStoreBuffers Buffers{Name.data(), Name.size(), Data.data(), Data.size()};
  const platform::VariableStoreResult Result =
      platform::ReadVariableStore(Text.data(), Text.size(), Buffers, KeepVariable, &Out);
  if (Result.Error == platform::VariableStoreError::None) return true;
  char Reason[160];
  platform::DescribeVariableStoreError(Result, Reason, sizeof Reason);
  Error = Reason;
  Out.clear();
  return false;
}

std::string FormatVariableStore(const std::vector<platform::PlatformVariable> &Variables) {
  std::string Text = "# NAME GUID ATTRIBUTES DATA\n";
  for (const auto &V : Variables) {
    Text += std::string(V.Name.begin(), V.Name.end()) + " " + hiibuild::GuidToString(V.Guid) + " ";
    char Attributes[16];
    std::snprintf(Attributes, sizeof Attributes, "0x%X", V.Attributes);
    Text += Attributes;
    Text += " ";
    if (V.Data.empty()) Text += "-";
    for (uint8_t B : V.Data) {
      char Hex[3];
      std::snprintf(Hex, sizeof Hex, "%02X", B);
      Text += Hex;
    }
    Text += "\n";
  }
  return Text;
}

}  // namespace bioscfgsim

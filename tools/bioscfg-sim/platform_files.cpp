#include "tools/bioscfg-sim/platform_files.h"

#include "tools/hiibuild/hii_export_builder.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace bioscfgsim {

PlatformInput SamplePlatformInput() {
  const auto &Sample = platform::Sample();
  return PlatformInput{Sample.Export, Sample.HiiProtocolGuid, Sample.Variables};
}

EFI_GUID HiiProtocolOf(const std::vector<uint8_t> &Export) {
  if (Export.size() >= 20 &&
      hiibuild::GuidsEqual(hiibuild::GetGuid(Export, 4), hiibuild::gFrameworkHiiRevisedProtocolGuid))
    return hiibuild::gFrameworkHiiRevisedProtocolGuid;
  return hiibuild::gFrameworkHiiProtocolGuid;
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

static int HexDigit(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

static bool ParseHexNumber(std::string Text, uint32_t &Out) {
  if (Text.size() > 2 && Text[0] == '0' && (Text[1] == 'x' || Text[1] == 'X')) Text = Text.substr(2);
  if (Text.empty() || Text.size() > 8) return false;
  uint32_t Value = 0;
  for (char C : Text) {
    int D = HexDigit(C);
    if (D < 0) return false;
    Value = Value << 4 | static_cast<uint32_t>(D);
  }
  Out = Value;
  return true;
}

// "-" stands for empty data.
static bool ParseHexData(const std::string &Text, std::vector<uint8_t> &Out) {
  Out.clear();
  if (Text == "-") return true;
  if (Text.size() % 2 != 0) return false;
  for (size_t I = 0; I < Text.size(); I += 2) {
    int High = HexDigit(Text[I]), Low = HexDigit(Text[I + 1]);
    if (High < 0 || Low < 0) return false;
    Out.push_back(static_cast<uint8_t>(High << 4 | Low));
  }
  return true;
}

bool ParseVariableStore(const std::string &Text, std::vector<platform::PlatformVariable> &Out,
                        std::string &Error) {
  Out.clear();
  std::istringstream Lines(Text);
  std::string Line;
  for (int Number = 1; std::getline(Lines, Line); ++Number) {
    auto Fail = [&](const std::string &Why) {
      Error = "line " + std::to_string(Number) + ": " + Why;
      return false;
    };
    std::istringstream Fields(Line);
    std::string Name, Guid, Attributes, Data, Extra;
    if (!(Fields >> Name) || Name[0] == '#') continue;
    if (!(Fields >> Guid >> Attributes >> Data)) return Fail("expected NAME GUID ATTRIBUTES DATA");
    if (Fields >> Extra) return Fail("unexpected text after the data");
    platform::PlatformVariable V;
    for (char C : Name) {
      if (static_cast<unsigned char>(C) > 0x7E) return Fail("variable names are ASCII");
      V.Name.push_back(static_cast<char16_t>(C));
    }
    if (!hiibuild::ParseGuid(Guid, V.Guid)) return Fail("bad GUID '" + Guid + "'");
    if (!ParseHexNumber(Attributes, V.Attributes)) return Fail("bad attributes '" + Attributes + "'");
    if (!ParseHexData(Data, V.Data)) return Fail("data is not an even number of hex digits");
    Out.push_back(std::move(V));
  }
  return true;
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

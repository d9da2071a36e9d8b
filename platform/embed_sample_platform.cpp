// sample-platform-embed OUT.cpp: writes the sample platform (platform::Sample())
// as a C++ source file of constant data, for images that carry the platform
// with them (see hiiprovider/embedded_sample.h).
#include "platform/sample_platform.h"
#include "platform/variable_store_text.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr size_t BYTES_PER_ROW = 16;

std::string ByteArray(const std::vector<uint8_t> &Bytes) {
  std::ostringstream Out;
  for (size_t I = 0; I < Bytes.size(); ++I) {
    if (I % BYTES_PER_ROW == 0) Out << "\n   ";
    char Hex[8];
    std::snprintf(Hex, sizeof Hex, " 0x%02X,", Bytes[I]);
    Out << Hex;
  }
  return Out.str();
}

// One string literal a line; the text is printable ASCII without quotes or
// backslashes (names, GUIDs and hex), so only the newline needs escaping.
std::string StringLiteral(const std::string &Text) {
  std::ostringstream Out;
  std::istringstream Lines(Text);
  for (std::string Line; std::getline(Lines, Line);) Out << "\n    \"" << Line << "\\n\"";
  return Out.str();
}

bool PrintableText(const std::string &Text) {
  for (char C : Text)
    if (C != '\n' && (C < 0x20 || C > 0x7E || C == '"' || C == '\\')) return false;
  return true;
}

}  // namespace

int main(int Argc, char **Argv) {
  if (Argc != 2) {
    std::fprintf(stderr, "usage: sample-platform-embed OUT.cpp\n");
    return 2;
  }
  const platform::SamplePlatform &Sample = platform::Sample();
  const std::string Variables = platform::FormatVariableStore(Sample.Variables);
  if (!PrintableText(Variables) || Variables.empty() || Variables.back() != '\n') {
    std::fprintf(stderr, "sample-platform-embed: the variable store text cannot be embedded as it is\n");
    return 1;
  }
  std::ofstream Out(Argv[1], std::ios::trunc);
  Out << "// Generated at build time by sample-platform-embed from platform::Sample().\n"
      << "#include \"hiiprovider/embedded_sample.h\"\n\n"
      << "namespace hiiprovider {\n\nnamespace {\n\n"
      << "constinit const UINT8 SAMPLE_EXPORT[] = {" << ByteArray(Sample.Export) << "\n};\n\n"
      << "constinit const char SAMPLE_VARIABLES[] =" << StringLiteral(Variables) << ";\n\n"
      << "}  // namespace\n\n"
      << "EmbeddedPlatform EmbeddedSample() {\n"
      << "  return EmbeddedPlatform{SAMPLE_EXPORT, sizeof SAMPLE_EXPORT, SAMPLE_VARIABLES,\n"
      << "                          sizeof SAMPLE_VARIABLES - 1};\n"
      << "}\n\n}  // namespace hiiprovider\n";
  Out.close();
  if (!Out) {
    std::fprintf(stderr, "sample-platform-embed: cannot write %s\n", Argv[1]);
    return 1;
  }
  return 0;
}

#include "tests/iniparse/parser_fixture.h"

#include "iniparse/image_entry.h"
#include "simimages/images.h"

#include <fstream>
#include <vector>

// The image's own copy of the runtime (host_image_library renames crt).
namespace iniparse_crt {
void Shutdown();
}

namespace {

constexpr UINT8 UNTOUCHED = 0xA5;
// Bytes after ValueSize that the parser must not reach either.
constexpr size_t GUARD_BYTES = 16;
constexpr size_t AUX_BYTES = 150;

}  // namespace

void ParserImageTest::SetUp() {
  SimTest::SetUp();
  SetTorvelPath(u"fs0:\\tools");
  ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\iniparse.efi", simimages::IniparseImage()));
}

void ParserImageTest::TearDown() {
  if (Started_) {
    iniparse_crt::Shutdown();
    iniparse::ResetImageState();
  }
  SimTest::TearDown();
}

EFI_STATUS ParserImageTest::StartParser() {
  EFI_HANDLE Handle = nullptr;
  const EFI_STATUS Status = Fw().LoadAndStart("fs0:\\tools\\iniparse.efi", &Handle);
  if (Status != EFI_SUCCESS) return Status;
  Started_ = true;
  Handle_ = Handle;
  EFI_GUID Guid = INI_PARSER_PROTOCOL_GUID;
  void *Interface = nullptr;
  EXPECT_EQ(Fw().SystemTable()->BootServices->LocateProtocol(&Guid, nullptr, &Interface), EFI_SUCCESS);
  Lookup_ = reinterpret_cast<INI_PARSER_LOOKUP>(Interface);
  IdleBlocks_ = Fw().LivePoolBlocks();
  return Status;
}

void ParserImageTest::SetTorvelPath(const std::u16string &Value) { Fw().SetShellVariable(u"TORVEL_PATH", Value); }

void ParserImageTest::RemoveTorvelPath() {
  EFI_GUID Guid = sim::ShellVariableGuid;
  CHAR16 Name[] = {'T', 'O', 'R', 'V', 'E', 'L', '_', 'P', 'A', 'T', 'H', 0};
  ASSERT_EQ(Fw().SystemTable()->RuntimeServices->SetVariable(Name, &Guid, 0, 0, nullptr), EFI_SUCCESS);
}

ParserImageTest::Answer ParserImageTest::Ask(const std::string &File, const std::string &Section,
                                             const std::string &Key, UINT16 ValueSize) {
  if (Lookup_ == nullptr) {
    ADD_FAILURE() << "the parser is not started";
    return Answer{INT32{-99}, {}};
  }
  std::vector<UINT8> Value(ValueSize + GUARD_BYTES, UNTOUCHED);
  std::vector<UINT8> Aux(AUX_BYTES, 0);
  std::string SectionText = Section, KeyText = Key, FileText = File;
  const INT32 Result = Lookup_(reinterpret_cast<CHAR8 *>(SectionText.data()), reinterpret_cast<CHAR8 *>(KeyText.data()),
                               Aux.data(), Value.data(), ValueSize, reinterpret_cast<CHAR8 *>(FileText.data()), 0);
  EXPECT_EQ(Aux, std::vector<UINT8>(AUX_BYTES, 0)) << "AuxText was written";
  size_t Written = 0;
  std::string Text;
  if (Result == INI_LOOKUP_FOUND) {
    while (Written < ValueSize && Value[Written] != 0) ++Written;
    EXPECT_LT(Written, ValueSize) << "no NUL within ValueSize";
    Text.assign(reinterpret_cast<const char *>(Value.data()), Written);
    ++Written;  // the NUL
  }
  for (size_t I = Written; I < Value.size(); ++I) {
    if (Value[I] == UNTOUCHED) continue;
    ADD_FAILURE() << "value byte " << I << " written (ValueSize " << ValueSize << ", result " << Result << ")";
    break;
  }
  return Answer{Result, Text};
}

void ParserImageTest::ExpectNothingHeld() {
  EXPECT_EQ(Fw().LivePoolBlocks(), IdleBlocks_) << "the image still holds memory";
}

std::string ParserImageTest::ToolsPath(const std::string &Name) { return VolumeDir(0) + "/tools/" + Name; }

void ParserImageTest::WriteTools(const std::string &Name, const std::string &Text) {
  WriteHostFile(ToolsPath(Name), Text);
}

void ParserImageTest::WriteHostFile(const std::string &Path, const std::string &Text) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out << Text;
  ASSERT_TRUE(Out.good()) << Path;
}

void ParserTest::SetUp() {
  ParserImageTest::SetUp();
  ASSERT_EQ(StartParser(), EFI_SUCCESS);
}

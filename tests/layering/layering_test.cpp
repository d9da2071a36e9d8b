// The tree's includes point down the layers, and the check itself catches
// includes that point up or sideways.
#include "tests/layering/layer_rules.h"

#include <gtest/gtest.h>

#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string Describe(const std::vector<layering::Violation> &Found) {
  std::string Text;
  for (const auto &V : Found) {
    Text += V.File + ":" + std::to_string(V.Line) + ": " + V.Include + ": " + V.Reason + "\n";
  }
  return Text;
}

// A scratch tree of a few files, removed afterwards.
class ScratchTree {
 public:
  ScratchTree() : Root(fs::temp_directory_path() / ("bioscfg-layers-" + std::to_string(::getpid()))) {
    fs::remove_all(Root);
    fs::create_directories(Root);
  }
  ~ScratchTree() { fs::remove_all(Root); }
  void Write(const std::string &File, const std::string &Text) {
    fs::create_directories((Root / File).parent_path());
    std::ofstream(Root / File) << Text;
  }
  const fs::path Root;
};

TEST(LayeringCheck, TheTreeIncludesOnlyDownward) {
  const auto Found = layering::CheckTree(BIOSCFG_SOURCE_DIR);
  EXPECT_TRUE(Found.empty()) << Describe(Found);
}

TEST(LayeringCheck, ReadmeShowsTheOrderTheCheckUses) {
  std::ifstream Readme(fs::path(BIOSCFG_SOURCE_DIR) / "README.md");
  const std::string Text((std::istreambuf_iterator<char>(Readme)), std::istreambuf_iterator<char>());
  EXPECT_NE(Text.find(layering::LayerTableMarkdown()), std::string::npos)
      << "README.md should show this table:\n" << layering::LayerTableMarkdown();
}

// Each planted include, alone in a tree of otherwise clean files, is found
// with the reason; the allowed ones are not.
TEST(LayeringCheck, PlantedIncludesAreCaught) {
  struct Case {
    const char *File;
    const char *Text;
    const char *Reason;  // nullptr: allowed
  } Cases[] = {
      {"forms/a.cpp", "#include \"driver/image_state.h\"\n", "upward"},
      {"settings/a.cpp", "#include \"ini/ini_access.h\"\n", "upward"},
      {"forms/a.cpp", "#include \"messages/last_error_text.h\"\n", "sideways"},
      {"client/a.cpp", "#include \"iniparse/lookup.h\"\n", "sideways"},
      {"client/a.cpp", "#include \"ini/ini_access.h\"\n", "an image of its own"},
      {"hiicompat/a.cpp", "#include \"forms/framework_hii.h\"\n", "an image of its own"},
      {"client/a.cpp", "#include \"inicontract/import_rules.h\"\n#include \"runtime/crt.h\"\n", nullptr},
      {"hiiprovider/a.cpp", "#include \"platform/sample_platform.h\"\n", "upward"},
      {"iniparse/a.cpp", "#include \"sim/firmware.h\"\n", "upward"},
      {"sim/a.cpp", "#include \"inicontract/section_path.h\"\n", "ground"},
      {"sim/a.cpp", "#include \"driver/driver_entry.h\"\n", "ground"},
      {"platform/a.cpp", "#include \"tools/bioscfg-sim/commands.h\"\n", "upward"},
      {"runtime/a.cpp", "  #  include \"forms/setup_question.h\"\n", "upward"},
      {"forms/a.cpp", "#include \"nowhere/x.h\"\n", "names no folder"},
      {"forms/a.cpp", "#include <vector>\n", "hosted system header"},
      {"inicontract/a.cpp", "#include <string>\n", "hosted system header"},
      {"stray/a.cpp", "int x;\n", "does not know"},
      // Allowed: down the layers, within a folder, the public header by its
      // bare name, hosted headers in host code.
      {"driver/a.cpp", "#include \"ini/ini_access.h\"\n#include \"forms/x.h\"\n", nullptr},
      {"ini/a.cpp", "#include \"inicontract/section_path.h\"\n#include \"b.h\"\n", nullptr},
      {"runtime/a.cpp", "#include \"bioscfg_protocol.h\"\n#include \"uefi/hii.h\"\n#include <efi.h>\n", nullptr},
      {"sim/a.cpp", "#include \"runtime/uefi.h\"\n#include <vector>\n", nullptr},
      {"hiibuild/host/a.cpp", "#include \"hiibuild/b.h\"\n#include <vector>\n", nullptr},
      {"tests/a.cpp", "#include \"tools/x.h\"\n#include \"driver/y.h\"\n", nullptr},
      {"tools/a.cpp", "#include \"simimages/x.h\"\n#include \"platform/y.h\"\n", nullptr},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(std::string(C.File) + ": " + C.Text);
    ScratchTree Tree;
    Tree.Write("include/bioscfg_protocol.h", "");
    Tree.Write("ini/b.h", "");
    Tree.Write(C.File, C.Text);
    const auto Found = layering::CheckTree(Tree.Root);
    if (C.Reason == nullptr) {
      EXPECT_TRUE(Found.empty()) << Describe(Found);
      continue;
    }
    ASSERT_EQ(Found.size(), 1u) << Describe(Found);
    EXPECT_EQ(Found[0].File, C.File);
    EXPECT_NE(Found[0].Reason.find(C.Reason), std::string::npos) << Found[0].Reason;
  }
}

TEST(LayeringCheck, BuildFoldersAreNotRead) {
  ScratchTree Tree;
  Tree.Write("build-asan/forms/a.cpp", "#include \"driver/x.h\"\n");
  Tree.Write("build/x.cpp", "#include \"tools/x.h\"\n");
  EXPECT_TRUE(layering::CheckTree(Tree.Root).empty());
}

}  // namespace

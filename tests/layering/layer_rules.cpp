#include "tests/layering/layer_rules.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace layering {

const std::vector<Layer> &Layers() {
  static const std::vector<Layer> Order = {
      {"ground", {"include", "runtime", "uefi"}, Reach::Below, true, true},
      {"shared freestanding libraries", {"inicontract", "hiibuild", "variablefile"}, Reach::Below, true},
      {"driver: form database and messages", {"forms", "messages"}, Reach::Below, true},
      {"driver: setting access", {"settings"}, Reach::Below, true},
      {"driver: INI export and import", {"ini"}, Reach::Below, true},
      {"driver top", {"driver"}, Reach::Below, true},
      {"other images", {"iniparse", "client", "hiiprovider", "hiicompat"}, Reach::GroundAndShared, true},
      {"simulated firmware", {"sim"}, Reach::GroundOnly},
      {"sample platform", {"platform"}},
      {"images built for the simulator", {"simimages"}},
      {"host tools", {"tools"}},
      {"checks", {"tests", "bench", "fuzz"}, Reach::Anything},
  };
  return Order;
}

namespace {

// Ranks of the first two layers.
constexpr int GROUND = 0;
constexpr int SHARED = 1;

// Host-only parts of folders whose other files are freestanding.
const std::set<std::string> HOST_ONLY_PARTS = {"hiibuild/host"};

// System headers a freestanding image may include: gnu-efi's and the
// freestanding parts of C and C++.
const std::set<std::string> FREESTANDING_HEADERS = {
    "efi.h", "efilib.h", "efishell.h", "efipciio.h", "stdarg.h", "stddef.h", "stdint.h", "new", "initializer_list"};

struct Place {
  int Rank = -1;
  std::string Folder;  // top-level folder
};

Place PlaceOf(const std::string &TopFolder) {
  const auto &Order = Layers();
  for (size_t Rank = 0; Rank < Order.size(); ++Rank) {
    for (const std::string &Folder : Order[Rank].Folders) {
      if (Folder == TopFolder) return Place{static_cast<int>(Rank), Folder};
    }
  }
  return Place{};
}

std::string TopFolderOf(const fs::path &Relative) {
  auto It = Relative.begin();
  return It == Relative.end() ? std::string() : It->string();
}

bool InHostOnlyPart(const std::string &RelativeFile) {
  return std::any_of(HOST_ONLY_PARTS.begin(), HOST_ONLY_PARTS.end(),
                     [&](const std::string &Part) { return RelativeFile.rfind(Part + "/", 0) == 0; });
}

// The top folder an include names: "folder/..." by its first part; a bare
// name is the including folder's own file or the public header in include/.
std::string TargetFolder(const fs::path &Root, const fs::path &IncludingFile, const std::string &Include) {
  const fs::path Named(Include);
  const fs::path Beside = IncludingFile.parent_path() / Named;
  if (Include.find('/') == std::string::npos || Include.rfind("../", 0) == 0 || Include.rfind("./", 0) == 0) {
    if (fs::exists(Root / Beside)) return TopFolderOf(Beside.lexically_normal());
    if (fs::exists(Root / "include" / Named)) return "include";
    return std::string();
  }
  return TopFolderOf(Named);
}

void CheckFile(const fs::path &Root, const fs::path &Relative, std::vector<Violation> &Out) {
  const std::string From = TopFolderOf(Relative);
  const Place Own = PlaceOf(From);
  const std::string RelativeText = Relative.generic_string();
  if (Own.Rank < 0) {
    Out.push_back({RelativeText, 0, "", "the file lies in a folder the layering does not know: " + From});
    return;
  }
  const Layer &OwnLayer = Layers()[Own.Rank];
  const bool Freestanding = OwnLayer.Freestanding && !InHostOnlyPart(RelativeText);
  static const std::regex IncludeLine(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
  std::ifstream In(Root / Relative);
  std::string Text;
  for (int Line = 1; std::getline(In, Text); ++Line) {
    std::smatch Match;
    if (!std::regex_search(Text, Match, IncludeLine)) continue;
    const std::string Include = Match[2];
    if (Match[1] == "<") {
      if (Freestanding && FREESTANDING_HEADERS.count(Include) == 0) {
        Out.push_back({RelativeText, Line, Include, "a hosted system header in code that runs in a UEFI image"});
      }
      continue;
    }
    if (OwnLayer.Includes == Reach::Anything) continue;
    const std::string To = TargetFolder(Root, Relative, Include);
    if (To == From) continue;
    const Place Target = PlaceOf(To);
    if (Target.Rank < 0) {
      Out.push_back({RelativeText, Line, Include, "names no folder of the layering"});
    } else if (OwnLayer.Includes == Reach::GroundOnly && Target.Rank > GROUND) {
      Out.push_back({RelativeText, Line, Include, From + " may include ground headers only"});
    } else if (OwnLayer.Includes == Reach::GroundAndShared && Target.Rank > SHARED && Target.Rank < Own.Rank) {
      Out.push_back({RelativeText, Line, Include, "an image of its own: " + From + " may not include " + To});
    } else if (Target.Rank == Own.Rank && !OwnLayer.Mutual) {
      Out.push_back({RelativeText, Line, Include, "sideways: " + From + " and " + To + " are one layer"});
    } else if (Target.Rank > Own.Rank) {
      Out.push_back({RelativeText, Line, Include, "upward: " + To + " lies above " + From});
    }
  }
}

bool IsSource(const fs::path &File) {
  static const std::set<std::string> EXTENSIONS = {".c", ".cc", ".cpp", ".h", ".hpp"};
  return EXTENSIONS.count(File.extension().string()) != 0;
}

bool Skipped(const fs::path &Relative) {
  const std::string Top = TopFolderOf(Relative);
  return Top.empty() || Top[0] == '.' || Top.rfind("build", 0) == 0;
}

}  // namespace

std::vector<Violation> CheckTree(const fs::path &Root) {
  std::vector<Violation> Out;
  std::vector<fs::path> Files;
  for (auto It = fs::recursive_directory_iterator(Root); It != fs::recursive_directory_iterator(); ++It) {
    const fs::path Relative = fs::relative(It->path(), Root);
    if (It.depth() == 0 && It->is_directory() && Skipped(Relative)) {
      It.disable_recursion_pending();
      continue;
    }
    if (It->is_regular_file() && It.depth() > 0 && IsSource(Relative)) Files.push_back(Relative);
  }
  std::sort(Files.begin(), Files.end());
  for (const fs::path &File : Files) CheckFile(Root, File, Out);
  return Out;
}

std::string LayerTableMarkdown() {
  std::ostringstream Out;
  Out << "| layer | folders | may include |\n|---|---|---|\n";
  for (const Layer &L : Layers()) {
    Out << "| " << L.Name << " | ";
    for (size_t I = 0; I < L.Folders.size(); ++I) Out << (I ? ", " : "") << "`" << L.Folders[I] << "/`";
    Out << " | ";
    if (&L == &Layers().front()) {
      Out << "gnu-efi and each other";
    } else if (L.Includes == Reach::Anything) {
      Out << "anything";
    } else if (L.Includes == Reach::GroundOnly) {
      Out << "the ground only";
    } else if (L.Includes == Reach::GroundAndShared) {
      Out << "the ground and the shared libraries";
    } else {
      Out << "the rows above";
    }
    Out << " |\n";
  }
  return Out.str();
}

}  // namespace layering

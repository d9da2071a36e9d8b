// Writes the seed corpus of the form fuzzer: a handful of HII exports made
// with the export builder, each exercising a different part of the parser.
//
//   make_seeds OUTPUT_FOLDER
#include "fuzz/seed_guids.h"
#include "platform/sample_platform.h"
#include "tools/hiibuild/hii_export_builder.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using hiibuild::Bytes;
using hiibuild::ExportBuilder;
using hiibuild::Text;
using fuzz::kSeedFormSetGuid;
using fuzz::kSeedOtherGuid;

// Conditions of every kind over "Setup", one-of, checkbox and numeric questions.
Bytes Conditions() {
  ExportBuilder Export;
  Export.AddTable(kSeedFormSetGuid)
      .Ifr()
      .FormSet(kSeedFormSetGuid, u"Setup")
      .Form(1, u"Main")
      .SuppressIf()
      .EqIdVal(1, 1, 1)
      .And()
      .EqIdList(2, 2, {1, 2, 3})
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}, {u"Auto", 2}}, 0)
      .EndIf()
      .GrayOutIf()
      .Not()
      .EqIdVal(4, 4, 0)
      .Or()
      .EqIdId(1, 1, 2)
      .CheckBox(3, 1, u"Switch")
      .EndIf()
      .Hidden()
      .EqIdVal(5, 1, 2)
      .Numeric(6, 2, u"Count", {0, 20, 5, 0})
      .EndIf()
      .InconsistentIf(u"Bad")
      .EqIdVal(7, 1, 0)
      .EndIf()
      .EndForm()
      .EndFormSet();
  return Export.Build();
}

// Variable packs and varstore opcodes, under the 20-byte header.
Bytes Varstores() {
  ExportBuilder Export(hiibuild::ExportHeaderStyle::Extended);
  hiibuild::DataTableBuilder &Table = Export.AddTable(kSeedFormSetGuid, {"fra", "eng"});
  Table.VariablePack(kSeedFormSetGuid, 0, u"Setup").VariablePack(kSeedOtherGuid, 2, u"Other").VariablePack(
      kSeedOtherGuid, 3, u"Large");
  Table.Ifr()
      .FormSet(kSeedFormSetGuid, Text(u"Setup", {{"fra", u"Configuration"}}))
      .VarStore(kSeedOtherGuid, 2, 4, "Other")
      .Form(1, u"Main")
      .CheckBox(0, 1, u"On other")
      .VarStoreSelect(0)
      .CheckBox(1, 1, u"Chained")
      .VarStoreSelectPair(3, 2)
      .OneOfWithOptions(0, 4, u"Large", {{u"A", 0}, {u"B", 1}}, 0)
      .VarStoreSelect(2)
      .SuppressIf()
      .EqIdVal(0, 1, 1)
      .VarStoreSelect(0)
      .Or()
      .EqIdVal(2, 1, 1)
      .CheckBox(2, 1, u"Mixed")
      .EndIf()
      .EndForm()
      .EndFormSet();
  return Export.Build();
}

// Two tables, several languages, an ordered list, a form without questions.
Bytes TablesAndStrings() {
  ExportBuilder Export;
  Export.AddTable(kSeedFormSetGuid, {"eng", "fra", "deu"})
      .Ifr()
      .FormSet(kSeedFormSetGuid, u"Setup")
      .Form(1, Text(u"Main", {{"fra", u"Principal"}}))
      .Subtitle(u"Boot")
      .OrderedList(8, 3, u"Order")
      .Option(u"Disk", 1)
      .Option(u"Net", 2)
      .EndOneOf()
      .Form(2, Text::OnlyIn({{"fra", u"Vide"}}))
      .EndForm()
      .Numeric(10, 1, u"Delay", {1, 3, 1, 1})
      .EndFormSet();
  Export.AddTable(kSeedOtherGuid)
      .Ifr()
      .FormSet(kSeedOtherGuid, u"Other")
      .Form(3, u"Second")
      .OneOfWithOptions(0, 2, u"Pick", {{u"X", 0}, {u"Y", 0x100}}, 0)
      .EndForm()
      .EndFormSet();
  return Export.Build();
}

bool Write(const std::string &Folder, const std::string &Name, const Bytes &Image) {
  std::ofstream Out(Folder + "/" + Name, std::ios::binary);
  Out.write(reinterpret_cast<const char *>(Image.data()), static_cast<std::streamsize>(Image.size()));
  return static_cast<bool>(Out);
}

}  // namespace

int main(int Argc, char **Argv) {
  if (Argc != 2) {
    std::fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", Argv[0]);
    return 2;
  }
  const std::string Folder = Argv[1];
  Bytes Truncated = Conditions();
  Truncated.resize(Truncated.size() * 2 / 3);
  const std::vector<std::pair<std::string, Bytes>> Seeds = {
      {"sample_platform", platform::Sample().Export},
      {"conditions", Conditions()},
      {"varstores_wide_header", Varstores()},
      {"tables_and_strings", TablesAndStrings()},
      {"truncated", Truncated},
  };
  for (const auto &[Name, Image] : Seeds) {
    if (!Write(Folder, Name, Image)) {
      std::fprintf(stderr, "cannot write %s/%s\n", Folder.c_str(), Name.c_str());
      return 1;
    }
  }
  return 0;
}

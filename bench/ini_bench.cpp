// The INI export and import on a large setup database, through the
// protocol: SaveSettingsToIni of 10,000 questions, then LoadSettingsFromIni
// of the saved file with a tenth of its values changed (1,000 changes over
// the platform's 8 variables): one write per question, combined writes, and
// a dry run. Prints times, the parser lookups, what the parser read of the
// file, and the variable calls of the loading alone (the forms are loaded
// before); passes or fails nothing.
#include "driver/image_state.h"
#include "hiibuild/host/hii_export_builder.h"
#include "ini/ini_parser_bridge.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr EFI_GUID kFormSetGuid = {0x1b1e77a3, 0x5c0d, 0x4f4e, {0x9e, 0x11, 0x42, 0x6f, 0x70, 0x0a, 0x1d, 0x2c}};
// The saved forms' titles: 14 top-level forms over 8 variables.
const char *const TITLES[] = {"Main", "Advanced", "Memory Configuration", "Memory RAS and Performance Configuration",
                              "System Acoustics and Performance Configuration", "Mass Storage Controller Configuration",
                              "Serial Port Configuration", "PCI Configuration", "Processor Configuration",
                              "USB Configuration", "Security", "Server Management", "Console Redirection",
                              "Hardware Monitor"};
constexpr int QUESTIONS = 10000;
constexpr int VARIABLES = 8;

std::u16string Wide(const std::string &Text) { return std::u16string(Text.begin(), Text.end()); }

// A third one-of, a third checkbox, a third numeric with 11 to 256 values.
bioscfgsim::PlatformInput BuildPlatform() {
  hiibuild::ExportBuilder Export;
  hiibuild::DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  const int Forms = static_cast<int>(sizeof(TITLES) / sizeof(TITLES[0]));
  const int PerForm = (QUESTIONS + Forms - 1) / Forms;
  const int PerVariable = PerForm * ((Forms + VARIABLES - 1) / VARIABLES);
  bioscfgsim::PlatformInput Input;
  std::vector<hiibuild::VariableImage> Images;
  for (int V = 0; V < VARIABLES; ++V) {
    EFI_GUID Guid = kFormSetGuid;
    Guid.Data4[7] = static_cast<UINT8>(V);
    Table.VariablePack(Guid, static_cast<uint16_t>(V + 1), Wide("Ini" + std::to_string(V)));
    Images.emplace_back(static_cast<size_t>(PerVariable));
    Input.Variables.push_back({Wide("Ini" + std::to_string(V)), Guid, 7, {}});
  }
  std::vector<uint16_t> NextOffset(VARIABLES, 0);
  hiibuild::IfrBuilder &Ifr = Table.Ifr();
  Ifr.FormSet(kFormSetGuid, u"Setup");
  const std::vector<hiibuild::OptionEntry> Choices = {{u"Off", 0}, {u"Low", 1}, {u"High", 2}, {u"Auto", 3}};
  for (int Q = 0; Q < QUESTIONS; ++Q) {
    const int F = Q / PerForm;
    const int V = F % VARIABLES;
    if (Q % PerForm == 0) {
      if (Q != 0) Ifr.EndForm();
      Ifr.Form(static_cast<uint16_t>(F + 1), Wide(TITLES[F])).VarStoreSelect(static_cast<uint16_t>(V + 1));
    }
    const uint16_t Offset = NextOffset[static_cast<size_t>(V)]++;
    const std::u16string Prompt = Wide("Setting " + std::to_string(Q));
    const uint8_t Value = static_cast<uint8_t>(Q % 3);
    switch (Q % 3) {
      case 0: Ifr.OneOfWithOptions(Offset, 1, Prompt, Choices, Value); break;
      case 1: Ifr.CheckBox(Offset, 1, Prompt); break;
      default: {
        const uint16_t Maximum = static_cast<uint16_t>(10 + (Q * 7) % 246);
        Ifr.Numeric(Offset, 1, Prompt, {.Minimum = 0, .Maximum = Maximum, .Step = 1, .Default = Value});
      }
    }
    Images[static_cast<size_t>(V)].Set(Offset, 1, Value);
  }
  Ifr.EndForm().EndFormSet();
  for (size_t V = 0; V < Images.size(); ++V) Input.Variables[V].Data = Images[V].Data();
  Input.Export = Export.Build();
  Input.HiiProtocolGuid = Export.ProtocolGuid();
  return Input;
}

// Counts the driver's calls into the parser image on their way through.
INI_PARSER_LOOKUP RealLookup = nullptr;
uint64_t Lookups = 0;
INT32 INI_PARSER_EFIAPI CountingLookup(CHAR8 *Section, CHAR8 *Key, CHAR8 *Aux, CHAR8 *Value, UINT16 Size,
                                        CHAR8 *File, UINT16 Flags) {
  ++Lookups;
  return RealLookup(Section, Key, Aux, Value, Size, File, Flags);
}

// Every tenth key line gets another value among its options: 0 and 1 are
// options of every question here.
std::string ChangeTenth(const std::string &Saved, int &Changed) {
  std::istringstream In(Saved);
  std::string Out, Line;
  int Keys = 0;
  Changed = 0;
  while (std::getline(In, Line)) {
    const size_t Equals = Line.find('=');
    if (Line.rfind("Setting ", 0) == 0 && Equals != std::string::npos && Keys++ % 10 == 0) {
      const size_t End = Line.find(' ', Equals);
      const bool IsOne = Line.compare(Equals + 1, End - Equals - 1, "1") == 0;
      Line.replace(Equals + 1, End - Equals - 1, IsOne ? "0" : "1");
      ++Changed;
    }
    Out += Line + "\n";
  }
  return Out;
}

}  // namespace

int main() {
  bioscfgsim::SimulatedMachine Machine;
  std::string Error;
  if (!Machine.Start(BuildPlatform(), BIOSCFG_MESSAGES_SOURCE, Error) || !Machine.OpenSession(Error)) {
    std::fprintf(stderr, "ini_bench: %s\n", Error.c_str());
    return 1;
  }
  sim::Firmware &Fw = Machine.Firmware();
  BIOS_CONFIG_PROTOCOL *P = Machine.Protocol();
  (void)P->GetSettings(P, nullptr);  // loads the forms: the figures below are the INI work alone

  Fw.ResetCounters();
  auto Start = Clock::now();
  const EFI_STATUS Saved = P->SaveSettingsToIni(P, reinterpret_cast<CHAR8 *>(const_cast<char *>("bench.ini")));
  const double SaveMs = std::chrono::duration<double, std::milli>(Clock::now() - Start).count();
  const fs::path File = fs::path(Machine.ToolsFolder()) / "bench.ini";
  std::ifstream In(File, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  std::printf("ini_bench: %d questions in %zu saved forms\n", QUESTIONS, sizeof(TITLES) / sizeof(TITLES[0]));
  std::printf("  save                %8.2f ms  %s, %zu bytes, FileWrite %llu, GetVariable %llu\n", SaveMs,
              Saved == EFI_SUCCESS ? "ok" : "FAILED", Text.str().size(),
              static_cast<unsigned long long>(Fw.Calls(sim::Service::FileWrite)),
              static_cast<unsigned long long>(Fw.Calls(sim::Service::GetVariable)));

  int Changed = 0;
  const std::string Edited = ChangeTenth(Text.str(), Changed);
  std::ofstream(File, std::ios::binary | std::ios::trunc) << Edited;
  // The first load brings the parser image in; count its lookups from then on.
  (void)P->LoadSettingsFromIni(P, reinterpret_cast<CHAR8 *>(const_cast<char *>("missing.ini")));
  RealLookup = gIniParser.IniParserLookup;
  gIniParser.IniParserLookup = CountingLookup;

  // Each load starts from the variables as saved, on freshly loaded forms.
  const std::vector<sim::VariableRecord> Original = Fw.Variables();
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *X = Machine.Extensions();
  struct Way {
    const char *Label;
    UINT8 Mode;
    bool Plan;
  };
  bool AllLoaded = true;
  double RealMs = 0;
  for (const Way &W : {Way{"per-question", BIOS_CONFIG_WRITES_PER_QUESTION, false},
                       Way{"combined    ", BIOS_CONFIG_WRITES_COMBINED, false},
                       Way{"dry run     ", BIOS_CONFIG_WRITES_COMBINED, true}}) {
    for (const auto &V : Original) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
    (void)P->OpenSession(P);
    (void)X->SetWriteMode(X, W.Mode);
    (void)P->GetSettings(P, nullptr);
    Lookups = 0;
    Fw.ResetCounters();
    BIOS_CONFIG_RUN Run{};
    Run.Flags = W.Plan ? BIOS_CONFIG_RUN_PLAN : 0;
    Start = Clock::now();
    const EFI_STATUS Loaded =
        X->RunLoadSettingsFromIni(X, reinterpret_cast<CHAR8 *>(const_cast<char *>("bench.ini")), &Run);
    const double LoadMs = std::chrono::duration<double, std::milli>(Clock::now() - Start).count();
    if (!W.Plan) RealMs = LoadMs;
    AllLoaded = AllLoaded && Loaded == EFI_SUCCESS;
    std::printf("  load %s %d changed over %d variables %8.2f ms  %s, %llu lookups, file %zu bytes read in "
                "%llu FileRead calls (%llu FileOpen), GetVariable %llu, SetVariable %llu",
                W.Label, Changed, VARIABLES, LoadMs, Loaded == EFI_SUCCESS ? "ok" : "FAILED",
                static_cast<unsigned long long>(Lookups), Edited.size(),
                static_cast<unsigned long long>(Fw.Calls(sim::Service::FileRead)),
                static_cast<unsigned long long>(Fw.Calls(sim::Service::FileOpen)),
                static_cast<unsigned long long>(Fw.Calls(sim::Service::GetVariable)),
                static_cast<unsigned long long>(Fw.Calls(sim::Service::SetVariable)));
    if (W.Plan) std::printf(", %.2f x the combined load", LoadMs / RealMs);
    std::printf("\n");
  }
  gIniParser.IniParserLookup = RealLookup;
  return Saved == EFI_SUCCESS && AllLoaded ? 0 : 1;
}

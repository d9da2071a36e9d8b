// diff FILE: what loading FILE would change, found by the driver's own
// import walk with its writes left out, so that it matches exactly what a
// load reads. Nothing is written; the report has the lines of the tool's
// load --dry-run.
#include "client/console_writer.h"
#include "client/diff_report.h"
#include "client/record_report.h"
#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "ini/ini_access.h"
#include "settings/settings_engine.h"
#include "tools/bioscfg-sim/commands.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cstdio>
#include <filesystem>

namespace bioscfgsim {

namespace {

namespace fs = std::filesystem;

// An option text in the 8-bit form an INI file holds.
struct NarrowText {
  std::string Bytes;
  bool Present = false;
};

NarrowText TextOf(const SetupQuestion &Question, UINT32 Value) {
  OptionCursor Cursor(Question);
  OptionView Option{};
  while (Cursor.Next(Option)) {
    if (Option.Value != Value) continue;
    NarrowText Text{std::string(), true};
    const auto *Bytes = reinterpret_cast<const uint8_t *>(Option.Text);
    for (UINT32 Unit = 0; Unit < Option.TextLength; ++Unit) Text.Bytes.push_back(static_cast<char>(Bytes[2 * Unit]));
    return Text;
  }
  return {};
}

struct Planned {
  std::string Section;
  std::string Key;
  UINT32 Current;
  NarrowText CurrentText;
  UINT32 New;
  NarrowText NewText;
  DiffKind Kind;
};

DiffKind KindOf(ImportStepKind Kind) {
  switch (Kind) {
    case ImportStepKind::ReshapingChange: return DiffKind::ReshapingChange;
    case ImportStepKind::AfterReload: return DiffKind::AfterReload;
    case ImportStepKind::OutOfRange: return DiffKind::OutOfRange;
    default: return DiffKind::Change;
  }
}

void Collect(void *Context, const ImportStep &Step) {
  const SetupQuestion &Q = *Step.Question;
  static_cast<std::vector<Planned> *>(Context)->push_back(
      Planned{Step.Section, Step.Key, Q.Value, TextOf(Q, Q.Value), Step.NewValue, TextOf(Q, Step.NewValue),
              KindOf(Step.Kind)});
}

DiffValue ValueOf(UINT32 Value, const NarrowText &Text) {
  return DiffValue{Value, Text.Present ? Text.Bytes.c_str() : nullptr, Text.Bytes.size()};
}

}  // namespace

int RunDiffCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) {
    std::fprintf(stderr, "bioscfg-sim: diff takes one FILE\n");
    return 2;
  }
  PlatformInput Platform;
  std::string Error;
  SimulatedMachine Machine;
  Options Reading = Opts;
  if (!fs::exists(Opts.VariablesPath)) Reading.VariablesPath.clear();  // not created yet: the defaults
  if (!LoadPlatform(Reading, Platform, Error) || !Machine.Start(Platform, Opts.MessagesPath, Error) ||
      !Machine.OpenSession(Error)) {
    std::fprintf(stderr, "bioscfg-sim: %s\n", Error.c_str());
    return 1;
  }
  const std::string Name = fs::path(Args[0]).filename().string();
  if (fs::exists(Args[0])) fs::copy_file(Args[0], fs::path(Machine.ToolsFolder()) / Name, fs::copy_options::overwrite_existing);

  std::vector<Planned> Steps;
  EFI_STATUS Status = gImage.Engine->EnsureFormsLoaded();
  if (Status == EFI_SUCCESS) Status = PlanBiosSection(*gImage.Engine, Name.c_str(), Collect, &Steps);

  sim::Firmware &Fw = Machine.Firmware();
  Fw.ClearConsole();
  {
    ConsoleWriter Out(Fw.SystemTable()->ConOut);
    PrintResult(Out, Status);
    if (Status == BCFG_INI_E_SERIAL_CONFLICT) PrintSerialConflict(Out);
    size_t Changes = 0;
    for (const Planned &P : Steps) {
      PrintDiffLine(Out, DiffLine{P.Kind, P.Section.c_str(), P.Key.c_str(), ValueOf(P.Current, P.CurrentText),
                                  ValueOf(P.New, P.NewText)});
      if (P.Kind != DiffKind::OutOfRange) ++Changes;
    }
    PrintDiffCount(Out, Changes);
  }
  for (char C : Fw.ConsoleText()) {
    if (C != '\r') std::fputc(C, stdout);
  }
  return Status == EFI_SUCCESS ? 0 : 1;
}

}  // namespace bioscfgsim

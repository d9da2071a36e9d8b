#include "tools/bioscfg-sim/commands.h"

#include "driver/image_state.h"
#include "platform/variable_store_text.h"
#include "settings/settings_engine.h"
#include "tools/bioscfg-sim/question_listing.h"
#include "tools/bioscfg-sim/session.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cstdio>
#include <filesystem>
#include <utility>

namespace bioscfgsim {

namespace fs = std::filesystem;

static int Fail(const std::string &Why) {
  std::fprintf(stderr, "bioscfg-sim: %s\n", Why.c_str());
  return 1;
}

bool LoadPlatform(const Options &Opts, PlatformInput &Out, std::string &Error) {
  // The sample is built only for the part no file replaces.
  if (Opts.ExportPath.empty()) {
    Out.Export = platform::Sample().Export;
    Out.HiiProtocolGuid = platform::Sample().HiiProtocolGuid;
  } else {
    if (!ReadFileBytes(Opts.ExportPath, Out.Export, Error)) return false;
    Out.HiiProtocolGuid = HiiProtocolOf(Out.Export);
  }
  if (Opts.VariablesPath.empty()) {
    Out.Variables = platform::Sample().Variables;
    return true;
  }
  std::vector<uint8_t> Text;
  if (!ReadFileBytes(Opts.VariablesPath, Text, Error)) return false;
  if (!platform::ParseVariableStore(std::string(Text.begin(), Text.end()), Out.Variables, Error)) {
    Error = Opts.VariablesPath + ": " + Error;
    return false;
  }
  return true;
}

bool ListQuestions(PlatformInput Platform, const std::string &MessagesPath, std::FILE *Out, std::string &Error) {
  SimulatedMachine Machine;
  if (!Machine.Start(std::move(Platform), MessagesPath, Error)) return false;
  if (!Machine.OpenSession(Error)) return false;
  if (gImage.Engine == nullptr) {
    Error = "the session has no settings engine";
    return false;
  }
  EFI_STATUS Status = gImage.Engine->EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) {
    Error = "loading the forms failed: " + StatusText(Status);
    return false;
  }
  WriteQuestionList(Out, gImage.Engine->Forms.Questions);
  if (std::fflush(Out) != 0) {
    Error = "writing the list failed";
    return false;
  }
  return true;
}

// Runs the driver on the platform and prints the question list it builds.
static int RunList(const Options &Opts, const std::vector<std::string> &Args) {
  if (!Args.empty()) return Fail("list takes no arguments");
  // Fully buffered: a large platform's list runs to tens of megabytes.
  static char Buffer[1 << 16];
  std::setvbuf(stdout, Buffer, _IOFBF, sizeof Buffer);
  PlatformInput Platform;
  std::string Error;
  if (!LoadPlatform(Opts, Platform, Error)) return Fail(Error);
  if (!ListQuestions(std::move(Platform), Opts.MessagesPath, stdout, Error)) return Fail(Error);
  return 0;
}

// Writes the sample platform's two files, as examples of the formats.
static int RunExportPlatform(const Options &, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Fail("export-platform takes one folder");
  std::error_code Made;
  fs::create_directories(Args[0], Made);
  if (Made) return Fail(Args[0] + ": " + Made.message());
  PlatformInput Sample = SamplePlatformInput();
  std::string Error;
  std::string ExportPath = (fs::path(Args[0]) / "hii.bin").string();
  std::string VariablesPath = (fs::path(Args[0]) / "variables.txt").string();
  std::string Store = platform::FormatVariableStore(Sample.Variables);
  if (!WriteFileBytes(ExportPath, Sample.Export, Error)) return Fail(Error);
  if (!WriteFileBytes(VariablesPath, std::vector<uint8_t>(Store.begin(), Store.end()), Error)) return Fail(Error);
  std::printf("%s\n%s\n", ExportPath.c_str(), VariablesPath.c_str());
  return 0;
}

const std::vector<Command> &Commands() {
  static const std::vector<Command> Table = {
      {"list", "", "run the driver on the platform and print its question list", RunList},
      {"get", "PROMPT...", "read questions by prompt (bioscfg-tool get)", RunGetCommand},
      {"get-form", "TITLE PROMPT...", "read questions of one form in form order", RunGetFormCommand},
      {"set", "[--dry-run] [--backup] PROMPT=VALUE...", "change questions by prompt; VALUE decimal, 0x-hex or option text",
       RunSetCommand},
      {"set-form", "[--dry-run] [--backup] TITLE PROMPT=VALUE...", "change questions of one form in form order",
       RunSetFormCommand},
      {"save", "FILE", "append the visible settings to FILE (bioscfg-tool save)", RunSaveCommand},
      {"load", "[--dry-run] [--no-backup] FILE", "restore FILE, backup and snapshot first (bioscfg-tool load)",
       RunLoadCommand},
      {"diff", "FILE", "what loading FILE would change: bioscfg-tool load --dry-run FILE", RunDiffCommand},
      {"restore", "SNAPSHOT", "put back the variables of a snapshot that load or --backup wrote", RunRestoreCommand},
      {"list-settings", "", "what save would save (bioscfg-tool list)", RunListSettingsCommand},
      {"show", "[--all] [--json]", "the forms as a tree with values and options, or every question as JSON",
       RunShowCommand},
      {"compare", "FILE FILE", "which settings two saved files give differently", RunCompareCommand},
      {"capture", "DIR", "the machine as DIR/hii.bin and DIR/variables.txt, which --export and --variables replay",
       RunCaptureCommand},
      {"session", "[--files DIR] FILE|-",
       "run the tool lines of FILE (- for standard input) on one machine, the driver loaded throughout",
       RunSessionCommand},
      {"export-platform", "DIR", "write the sample platform as DIR/hii.bin and DIR/variables.txt (the files the HII provider serves)",
       RunExportPlatform},
  };
  return Table;
}

void PrintUsage(std::FILE *Out) {
  std::fprintf(Out,
               "usage: bioscfg-sim [--export FILE] [--variables FILE] [--messages FILE] [--all-questions]\n"
               "                   COMMAND [ARGS]\n"
               "\n"
               "Runs the bioscfg driver inside the simulated firmware. Without --export and\n"
               "--variables the embedded sample server platform is used.\n"
               "\n"
               "  --export FILE     HII database export (raw bytes)\n"
               "  --variables FILE  variable store (text: NAME GUID ATTRIBUTES DATA per line)\n"
               "  --messages FILE   message catalog source (default: the tree's messages/bioscfg.messages)\n"
               "  --all-questions   let get and set see every question (SetAllQuestionsMode(1))\n"
               "\n"
               "commands:\n");
  for (const Command &C : Commands()) {
    std::string Head = std::string(C.Name) + (*C.Arguments ? std::string(" ") + C.Arguments : "");
    std::fprintf(Out, "  %-26s %s\n", Head.c_str(), C.Summary);
  }
  std::fprintf(Out,
               "\n"
               "examples:\n"
               "  bioscfg-sim show --json > sample.json\n"
               "  bioscfg-sim set --dry-run \"Quiet Boot=Disabled\" \"Wake on LAN=0\"\n"
               "  bioscfg-sim save monday.ini && bioscfg-sim compare monday.ini today.ini\n"
               "  bioscfg-sim capture machine && bioscfg-sim --export machine/hii.bin \\\n"
               "      --variables machine/variables.txt diff monday.ini\n"
               "  echo 'set \"Quiet Boot=0\"' | bioscfg-sim session -\n");
}

}  // namespace bioscfgsim

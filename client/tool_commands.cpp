#include "client/tool_commands.h"

EFI_STATUS RunGet(ToolContext &C);
EFI_STATUS RunGetForm(ToolContext &C);
EFI_STATUS RunSet(ToolContext &C);
EFI_STATUS RunSetForm(ToolContext &C);
EFI_STATUS RunSave(ToolContext &C);
EFI_STATUS RunLoad(ToolContext &C);
EFI_STATUS RunList(ToolContext &C);
EFI_STATUS RunRestore(ToolContext &C);
EFI_STATUS RunShow(ToolContext &C);
EFI_STATUS RunCompare(ToolContext &C);
EFI_STATUS RunCapture(ToolContext &C);

namespace {

constexpr ToolCommand COMMANDS[] = {
    {"get", "PROMPT...", "read questions by prompt", "\"Quiet Boot\" \"Boot Mode\"", 1, RunGet},
    {"get-form", "TITLE PROMPT...", "read questions of one form, in form order", "Main \"Quiet Boot\"", 1,
     RunGetForm},
    {"set", "[--dry-run] [--backup] PROMPT=VALUE...",
     "change questions by prompt (VALUE: decimal, 0x-hex or option text); --dry-run changes nothing, --backup saves "
     "a backup and a snapshot first",
     "--dry-run \"Quiet Boot=Disabled\" \"Wake on LAN=0\"", 1, RunSet},
    {"set-form", "[--dry-run] [--backup] TITLE PROMPT=VALUE...", "change questions of one form, in form order",
     "\"Console Redirection\" \"Console Redirection=Serial Port A\" \"Baud Rate=115.2k\"", 1, RunSetForm},
    {"show", "[--all] [--json]",
     "the forms as a tree with each question's value and options (--all: hidden ones too, marked); --json: every "
     "question as an attribute registry",
     "--json", 0, RunShow},
    {"list", "", "show every question that save would save, with its value and options", "", 0, RunList},
    {"compare", "FILE FILE", "which settings two saved files give differently (result SETTINGS_DIFFER when any)",
     "monday.ini today.ini", 2, RunCompare},
    {"capture", "DIR", "write this machine's HII export (DIR\\hii.bin) and its setup variables (DIR\\variables.txt)",
     "machine", 1, RunCapture},
    {"save", "FILE", "append the visible settings to FILE in the TORVEL_PATH folder", "today.ini", 1, RunSave},
    {"load", "[--dry-run] [--no-backup] FILE",
     "restore FILE, saving a backup and a snapshot of the variables first; --dry-run changes nothing and lists "
     "what the load would change",
     "--dry-run monday.ini", 1, RunLoad},
    {"restore", "SNAPSHOT", "put back exactly the variables of a snapshot that load or --backup wrote",
     "monday-backup-1.vars", 1, RunRestore},
};

}  // namespace

const ToolCommand *FindToolCommand(const CHAR16 *Name) {
  for (const ToolCommand &Command : COMMANDS) {
    if (ArgumentIs(Name, Command.Name)) return &Command;
  }
  return nullptr;
}

void PrintUsage(ConsoleWriter &Out) {
  Out.Text("usage: bioscfg-tool [--all] COMMAND OPERANDS...").EndLine();
  Out.Text("  FILE names a file in the TORVEL_PATH folder, as the driver names it").EndLine();
  Out.Text("  --all                  get, set and show see every question, hidden ones included").EndLine();
  Out.Text("  --per-question-writes  one write per changed question (default: each changed variable once)").EndLine();
  Out.Text("  --dry-run              set, set-form, load: run on a copy of the variables, write nothing").EndLine();
  Out.Text("  --backup               set, set-form: an INI backup and a variable snapshot first").EndLine();
  Out.Text("  --no-backup            load: without them").EndLine();
  Out.Text("  --json                 show: every question as JSON").EndLine();
  for (const ToolCommand &Command : COMMANDS) {
    Out.Text("  ").Text(Command.Name).Text(" ").Text(Command.Operands).EndLine();
    Out.Text("      ").Text(Command.Summary).EndLine();
    Out.Text("      e.g. bioscfg-tool ").Text(Command.Name);
    if (Command.Example[0] != '\0') Out.Text(" ").Text(Command.Example);
    Out.EndLine();
  }
}

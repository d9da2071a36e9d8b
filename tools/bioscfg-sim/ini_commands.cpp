// save, load and list-settings: the tool's INI commands on host files. FILE is a
// host path; the tool works in the simulated TORVEL_PATH folder, so FILE is
// copied in before (save appends to it, as the driver does) and the result
// copied back out after; a backup that load made lands next to FILE.
#include "tools/bioscfg-sim/commands.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cstdio>
#include <algorithm>
#include <filesystem>
#include <sstream>

namespace bioscfgsim {

namespace {

namespace fs = std::filesystem;

std::string BaseName(const std::string &Path) { return fs::path(Path).filename().string(); }

bool CopyIn(SimulatedMachine &Machine, const std::string &Host, std::string &Error) {
  if (!fs::exists(Host)) return true;
  std::error_code Failed;
  fs::copy_file(Host, fs::path(Machine.ToolsFolder()) / BaseName(Host), fs::copy_options::overwrite_existing, Failed);
  if (Failed) Error = Host + ": " + Failed.message();
  return !Failed;
}

bool CopyOut(SimulatedMachine &Machine, const std::string &Name, const std::string &Host, std::string &Error) {
  const fs::path Inside = fs::path(Machine.ToolsFolder()) / Name;
  if (!fs::exists(Inside)) return true;
  std::error_code Failed;
  fs::copy_file(Inside, Host, fs::copy_options::overwrite_existing, Failed);
  if (Failed) Error = Host + ": " + Failed.message();
  return !Failed;
}

// Earlier backups of Host (its stem, "-backup-", its extension or ".vars")
// stand in the simulated folder too, empty, so that the tool picks a name
// none of them has.
bool ReserveBackupNames(SimulatedMachine &Machine, const std::string &Host, std::string &Error) {
  const fs::path File(Host);
  const std::string Prefix = File.stem().string() + "-backup-";
  const fs::path Folder = File.parent_path().empty() ? fs::path(".") : File.parent_path();
  std::error_code Failed;
  for (const auto &Entry : fs::directory_iterator(Folder, Failed)) {
    const std::string Name = Entry.path().filename().string();
    const fs::path Extension = Entry.path().extension();
    if (Name.rfind(Prefix, 0) != 0 || (Extension != File.extension() && Extension != ".vars")) continue;
    std::FILE *Placeholder = std::fopen((fs::path(Machine.ToolsFolder()) / Name).string().c_str(), "wb");
    if (Placeholder == nullptr) {
      Error = Name + ": cannot reserve the backup name";
      return false;
    }
    std::fclose(Placeholder);
  }
  if (Failed) Error = Folder.string() + ": " + Failed.message();
  return !Failed;
}

// The names after "backup: " and "snapshot: " in the tool's output.
std::vector<std::string> BackupNames(const std::string &Output) {
  std::vector<std::string> Names;
  std::istringstream Lines(Output);
  for (std::string Line; std::getline(Lines, Line);) {
    if (Line.rfind("backup: ", 0) == 0) Names.push_back(Line.substr(8));
    if (Line.rfind("snapshot: ", 0) == 0) Names.push_back(Line.substr(10));
  }
  return Names;
}

// The backup files the tool made land in Folder on the host.
bool CopyBackupsOut(SimulatedMachine &Machine, const std::string &Output, const fs::path &Folder,
                    std::string &Error) {
  for (const std::string &Name : BackupNames(Output)) {
    if (!CopyOut(Machine, Name, (Folder / Name).string(), Error)) return false;
  }
  return true;
}

int Usage(const char *Text) {
  std::fprintf(stderr, "bioscfg-sim: %s\n", Text);
  return 2;
}

// The last operand is the host file; the ones before it are the tool's flags.
std::vector<std::string> WithBaseName(const std::vector<std::string> &Args) {
  std::vector<std::string> Operands = Args;
  Operands.back() = BaseName(Args.back());
  return Operands;
}

}  // namespace

int RunSaveCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("save takes one FILE");
  const std::string Host = Args[0];
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) { return CopyIn(M, Host, Error); };
  Hooks.After = [&](SimulatedMachine &M, const std::string &, std::string &Error) {
    return CopyOut(M, BaseName(Host), Host, Error);
  };
  return RunThroughTool(Opts, "save", WithBaseName(Args), false, Hooks);
}

int RunLoadCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.empty()) return Usage("load takes [--dry-run] [--no-backup] FILE");
  const std::string Host = Args.back();
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) {
    return CopyIn(M, Host, Error) && ReserveBackupNames(M, Host, Error);
  };
  Hooks.After = [&](SimulatedMachine &M, const std::string &Output, std::string &Error) {
    return CopyBackupsOut(M, Output, fs::path(Host).parent_path(), Error);
  };
  const bool DryRun = std::find(Args.begin(), Args.end(), "--dry-run") != Args.end();
  return RunThroughTool(Opts, "load", WithBaseName(Args), !DryRun, Hooks);
}

int RunDiffCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("diff takes one FILE");
  return RunLoadCommand(Opts, {"--dry-run", Args[0]});
}

int RunRestoreCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("restore takes one SNAPSHOT");
  const std::string Host = Args[0];
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) { return CopyIn(M, Host, Error); };
  return RunThroughTool(Opts, "restore", WithBaseName(Args), true, Hooks);
}

int RunCompareCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 2) return Usage("compare takes two FILEs");
  // The same base name twice (two folders) goes in under two names.
  const std::string First = BaseName(Args[0]);
  const std::string Second = BaseName(Args[1]) == First ? "second-" + First : BaseName(Args[1]);
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) {
    std::error_code Failed;
    for (const auto &[Host, Inside] : {std::pair{Args[0], First}, std::pair{Args[1], Second}}) {
      if (!fs::exists(Host)) continue;
      fs::copy_file(Host, fs::path(M.ToolsFolder()) / Inside, fs::copy_options::overwrite_existing, Failed);
      if (Failed) {
        Error = Host + ": " + Failed.message();
        return false;
      }
    }
    return true;
  };
  return RunThroughTool(Opts, "compare", {First, Second}, false, Hooks);
}

int RunCaptureCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("capture takes one DIR");
  const std::string Host = Args[0];
  // The tool captures into a folder of DIR's base name in the simulated
  // TORVEL_PATH folder; the files are copied out to DIR.
  const std::string Inside = fs::path(Host).filename().string();
  ToolFileHooks Hooks;
  Hooks.After = [&](SimulatedMachine &M, const std::string &Output, std::string &Error) {
    if (Output.rfind("result: EFI_SUCCESS", 0) != 0) return true;
    std::error_code Failed;
    fs::create_directories(Host, Failed);
    for (const char *Name : {"hii.bin", "variables.txt"}) {
      if (!Failed) {
        fs::copy_file(fs::path(M.ToolsFolder()) / Inside / Name, fs::path(Host) / Name,
                      fs::copy_options::overwrite_existing, Failed);
      }
    }
    if (Failed) Error = Host + ": " + Failed.message();
    return !Failed;
  };
  return RunThroughTool(Opts, "capture", {Inside}, false, Hooks);
}

int RunSetWithBackups(const Options &Opts, const std::string &Command, const std::vector<std::string> &Args) {
  ToolFileHooks Hooks;
  Hooks.After = [&](SimulatedMachine &M, const std::string &Output, std::string &Error) {
    return CopyBackupsOut(M, Output, fs::path("."), Error);
  };
  return RunThroughTool(Opts, Command, Args, true, Hooks);
}

int RunListSettingsCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (!Args.empty()) return Usage("list-settings takes no arguments");
  return RunThroughTool(Opts, "list", Args, false);
}

}  // namespace bioscfgsim

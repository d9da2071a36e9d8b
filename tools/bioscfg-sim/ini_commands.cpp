// save, load and list-settings: the tool's INI commands on host files. FILE
// names a file under the TORVEL_PATH folder, for which the current folder
// stands (or, given as a host path, a file of its own folder: fat_names.h).
// The tool works in the simulated TORVEL_PATH folder, so FILE is copied in
// before (save appends to it, as the driver does) and the result copied back
// out after, each name looked up as a FAT volume looks it up; a backup that
// load made lands next to FILE.
#include "tools/bioscfg-sim/commands.h"
#include "tools/bioscfg-sim/fat_names.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cstdio>
#include <algorithm>
#include <filesystem>
#include <sstream>

namespace bioscfgsim {

namespace {

namespace fs = std::filesystem;

bool CopyIn(SimulatedMachine &Machine, const ToolFile &File, std::string &Error) {
  return CopyInto(File.HostFolder, File.ToolName, Machine.ToolsFolder(), Error);
}

bool CopyOut(SimulatedMachine &Machine, const std::string &Name, const fs::path &HostFolder, std::string &Error) {
  return CopyOutOf(Machine.ToolsFolder(), Name, HostFolder, Error);
}

// Earlier backups of File (its stem, "-backup-", its extension or ".vars",
// in any case) stand in the simulated folder too, empty, so that the tool
// picks a name none of them has.
bool ReserveBackupNames(SimulatedMachine &Machine, const ToolFile &File, std::string &Error) {
  const std::vector<std::string> Parts = NameComponents(File.ToolName);
  if (Parts.empty()) return true;
  const std::vector<std::string> Folders(Parts.begin(), Parts.end() - 1);
  fs::path HostFolder, InsideFolder;
  if (!ResolveOnHost(File.HostFolder, Folders, HostFolder, Error) ||
      !ResolveOnHost(Machine.ToolsFolder(), Folders, InsideFolder, Error))
    return false;
  std::error_code Failed;
  if (!fs::is_directory(InsideFolder, Failed)) return true;  // the tool will not find the file either
  const fs::path Base(Parts.back());
  const std::string Prefix = Base.stem().string() + "-backup-";
  for (const auto &Entry : fs::directory_iterator(HostFolder, Failed)) {
    const std::string Name = Entry.path().filename().string();
    const std::string Extension = Entry.path().extension().string();
    if (!SameIgnoringAsciiCase(Name.substr(0, Prefix.size()), Prefix)) continue;
    if (!SameIgnoringAsciiCase(Extension, Base.extension().string()) && !SameIgnoringAsciiCase(Extension, ".vars"))
      continue;
    std::FILE *Placeholder = std::fopen((InsideFolder / Name).string().c_str(), "wb");
    if (Placeholder == nullptr) {
      Error = Name + ": cannot reserve the backup name";
      return false;
    }
    std::fclose(Placeholder);
  }
  if (Failed) Error = HostFolder.string() + ": " + Failed.message();
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

// The backup files the tool made land under Folder on the host.
bool CopyBackupsOut(SimulatedMachine &Machine, const std::string &Output, const fs::path &Folder,
                    std::string &Error) {
  for (const std::string &Name : BackupNames(Output)) {
    if (!CopyOut(Machine, Name, Folder, Error)) return false;
  }
  return true;
}

int Usage(const char *Text) {
  std::fprintf(stderr, "bioscfg-sim: %s\n", Text);
  return 2;
}

// The last operand is the file; the ones before it are the tool's flags.
std::vector<std::string> WithToolName(const std::vector<std::string> &Args, const ToolFile &File) {
  std::vector<std::string> Operands = Args;
  Operands.back() = File.ToolName;
  return Operands;
}

}  // namespace

int RunSaveCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("save takes one FILE");
  const ToolFile File = ToolFileOf(Args[0]);
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) { return CopyIn(M, File, Error); };
  Hooks.After = [&](SimulatedMachine &M, const std::string &, std::string &Error) {
    return CopyOut(M, File.ToolName, File.HostFolder, Error);
  };
  return RunThroughTool(Opts, "save", WithToolName(Args, File), false, Hooks);
}

int RunLoadCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.empty()) return Usage("load takes [--dry-run] [--no-backup] FILE");
  const ToolFile File = ToolFileOf(Args.back());
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) {
    return CopyIn(M, File, Error) && ReserveBackupNames(M, File, Error);
  };
  Hooks.After = [&](SimulatedMachine &M, const std::string &Output, std::string &Error) {
    return CopyBackupsOut(M, Output, File.HostFolder, Error);
  };
  const bool DryRun = std::find(Args.begin(), Args.end(), "--dry-run") != Args.end();
  return RunThroughTool(Opts, "load", WithToolName(Args, File), !DryRun, Hooks);
}

int RunDiffCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("diff takes one FILE");
  return RunLoadCommand(Opts, {"--dry-run", Args[0]});
}

int RunRestoreCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 1) return Usage("restore takes one SNAPSHOT");
  const ToolFile File = ToolFileOf(Args[0]);
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) { return CopyIn(M, File, Error); };
  return RunThroughTool(Opts, "restore", WithToolName(Args, File), true, Hooks);
}

int RunCompareCommand(const Options &Opts, const std::vector<std::string> &Args) {
  if (Args.size() != 2) return Usage("compare takes two FILEs");
  const ToolFile First = ToolFileOf(Args[0]);
  ToolFile Second = ToolFileOf(Args[1]);
  // One name in two host folders goes in as two files.
  const bool Clash = SameIgnoringAsciiCase(First.ToolName, Second.ToolName) && First.HostFolder != Second.HostFolder;
  const std::string SecondInside = Clash ? "second-" + fs::path(Second.ToolName).filename().string() : Second.ToolName;
  ToolFileHooks Hooks;
  Hooks.Before = [&](SimulatedMachine &M, std::string &Error) {
    if (!CopyIn(M, First, Error)) return false;
    if (!Clash) return CopyIn(M, Second, Error);
    std::error_code Failed;
    fs::copy_file(Second.HostFolder / Second.ToolName, fs::path(M.ToolsFolder()) / SecondInside,
                  fs::copy_options::overwrite_existing, Failed);
    if (Failed) Error = Args[1] + ": " + Failed.message();
    return !Failed;
  };
  return RunThroughTool(Opts, "compare", {First.ToolName, SecondInside}, false, Hooks);
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

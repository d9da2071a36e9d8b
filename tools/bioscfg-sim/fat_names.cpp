#include "tools/bioscfg-sim/fat_names.h"

namespace bioscfgsim {

namespace fs = std::filesystem;

namespace {

char FoldAscii(char C) { return C >= 'A' && C <= 'Z' ? static_cast<char>(C - 'A' + 'a') : C; }

// Copies From onto To; false with a reason.
bool CopyFile(const fs::path &From, const fs::path &To, std::string &Error) {
  std::error_code Failed;
  fs::copy_file(From, To, fs::copy_options::overwrite_existing, Failed);
  if (Failed) Error = To.string() + ": " + Failed.message();
  return !Failed;
}

}  // namespace

bool SameIgnoringAsciiCase(const std::string &A, const std::string &B) {
  if (A.size() != B.size()) return false;
  for (size_t Index = 0; Index < A.size(); ++Index) {
    if (FoldAscii(A[Index]) != FoldAscii(B[Index])) return false;
  }
  return true;
}

std::vector<std::string> NameComponents(const std::string &Name) {
  std::vector<std::string> Parts;
  std::string Part;
  for (char C : Name) {
    if (C != '\\' && C != '/') {
      Part.push_back(C);
      continue;
    }
    if (!Part.empty()) Parts.push_back(Part);
    Part.clear();
  }
  if (!Part.empty()) Parts.push_back(Part);
  return Parts;
}

bool FindOnHost(const fs::path &Folder, const std::string &Component, std::optional<std::string> &Found,
                std::string &Error) {
  Found.reset();
  std::error_code Failed;
  if (fs::exists(Folder / Component, Failed)) {
    Found = Component;
    return true;
  }
  std::vector<std::string> Matches;
  for (const fs::directory_entry &Entry : fs::directory_iterator(Folder, Failed)) {
    const std::string Name = Entry.path().filename().string();
    if (SameIgnoringAsciiCase(Name, Component)) Matches.push_back(Name);
  }
  if (Matches.size() > 1) {
    Error = (Folder / Matches[0]).string() + " and " + Matches[1] +
            " are one name on a FAT volume: which one \"" + Component + "\" names is not known";
    return false;
  }
  if (!Matches.empty()) Found = Matches[0];
  return true;
}

bool ResolveOnHost(const fs::path &Folder, const std::vector<std::string> &Components, fs::path &Out,
                   std::string &Error) {
  Out = Folder;
  for (const std::string &Part : Components) {
    std::optional<std::string> Found;
    if (!FindOnHost(Out, Part, Found, Error)) return false;
    Out /= Found ? *Found : Part;
  }
  return true;
}

ToolFile ToolFileOf(const std::string &Operand) {
  const fs::path Host(Operand);
  const std::vector<std::string> Parts = NameComponents(Operand);
  bool Climbs = false;
  for (const std::string &Part : Parts) Climbs = Climbs || Part == "..";
  if (!Host.is_absolute() && !Climbs && !Parts.empty()) return ToolFile{fs::path("."), Operand};
  // A host path: its last component is the name inside.
  const std::string Name = Parts.empty() ? Operand : Parts.back();
  fs::path Folder = Host.parent_path();
  if (Folder.empty()) Folder = ".";
  return ToolFile{Folder, Name};
}

bool CopyInto(const fs::path &HostFolder, const std::string &Name, const fs::path &Inside, std::string &Error) {
  const std::vector<std::string> Parts = NameComponents(Name);
  if (Parts.empty()) return true;
  fs::path From = HostFolder;
  fs::path To = Inside;
  for (size_t Index = 0; Index < Parts.size(); ++Index) {
    std::optional<std::string> Found;
    if (!FindOnHost(From, Parts[Index], Found, Error)) return false;
    if (!Found) return true;  // nothing there: the tool meets the name as the firmware would
    From /= *Found;
    if (Index + 1 == Parts.size()) break;
    std::error_code Failed;
    if (!fs::is_directory(From, Failed)) return true;
    std::optional<std::string> InsideName;
    if (!FindOnHost(To, *Found, InsideName, Error)) return false;
    To /= InsideName ? *InsideName : *Found;
    fs::create_directory(To, Failed);
    if (Failed) {
      Error = To.string() + ": " + Failed.message();
      return false;
    }
  }
  std::error_code Failed;
  if (!fs::is_regular_file(From, Failed)) return true;
  std::optional<std::string> InsideName;
  if (!FindOnHost(To, From.filename().string(), InsideName, Error)) return false;
  return CopyFile(From, To / (InsideName ? *InsideName : From.filename().string()), Error);
}

bool CopyOutOf(const fs::path &Inside, const std::string &Name, const fs::path &HostFolder, std::string &Error) {
  const std::vector<std::string> Parts = NameComponents(Name);
  if (Parts.empty()) return true;
  fs::path From;
  if (!ResolveOnHost(Inside, Parts, From, Error)) return false;
  std::error_code Failed;
  if (!fs::is_regular_file(From, Failed)) return true;
  // The folders of the name exist on the host (the file came to be inside
  // them); the file itself keeps the case it has on either side.
  std::vector<std::string> Folders(Parts.begin(), Parts.end() - 1);
  fs::path To;
  if (!ResolveOnHost(HostFolder, Folders, To, Error)) return false;
  std::optional<std::string> HostName;
  if (!FindOnHost(To, From.filename().string(), HostName, Error)) return false;
  return CopyFile(From, To / (HostName ? *HostName : From.filename().string()), Error);
}

}  // namespace bioscfgsim

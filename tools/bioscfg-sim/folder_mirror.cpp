#include "tools/bioscfg-sim/folder_mirror.h"

#include "tools/bioscfg-sim/fat_names.h"

#include <cstring>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

namespace bioscfgsim {

namespace fs = std::filesystem;

namespace {

// The machine's own files in the TORVEL_PATH folder.
const char *const MACHINE_FILES[] = {"bioscfg.str", "bioscfg.efi", "iniparse.efi", "bioscfg-tool.efi"};

struct Entry {
  std::string Path;  // below the root, '/' between folders, in the case it has there
  bool Folder = false;
};

// Entries by their path with A to Z folded: a folder sorts before what it holds.
using Tree = std::map<std::string, Entry>;

std::string Folded(std::string Text) {
  for (char &C : Text) {
    if (C >= 'A' && C <= 'Z') C = static_cast<char>(C - 'A' + 'a');
  }
  return Text;
}

bool IsMachineFile(const std::string &Name) {
  for (const char *Machine : MACHINE_FILES) {
    if (SameIgnoringAsciiCase(Name, Machine)) return true;
  }
  return false;
}

// What a FAT long name may hold (bytes of UTF-8 counted, which is stricter).
bool FatCanHold(const std::string &Name) {
  if (Name.empty() || Name == "." || Name == ".." || Name.size() > 255) return false;
  for (char C : Name) {
    if (static_cast<unsigned char>(C) < 0x20 || std::strchr("\"*/:<>?\\|", C) != nullptr) return false;
  }
  return true;
}

struct Walk {
  fs::path Root;
  Tree &Out;
  std::string &Error;
  size_t Entries = 0;
  uintmax_t Bytes = 0;
};

bool TooLarge(Walk &W, const char *What) {
  W.Error = W.Root.string() + ": " + What +
            "; name a folder that holds only the files the commands use with --files DIR";
  return false;
}

bool WalkFolder(Walk &W, const std::string &Relative, size_t Depth) {
  if (Depth > MAX_MIRRORED_DEPTH) return TooLarge(W, "folders nest too deep");
  std::error_code Failed;
  fs::directory_iterator Listing(W.Root / Relative, Failed);
  for (; !Failed && Listing != fs::directory_iterator(); Listing.increment(Failed)) {
    const std::string Name = Listing->path().filename().string();
    if (!FatCanHold(Name) || (Relative.empty() && IsMachineFile(Name))) continue;
    std::error_code Kind;
    const bool Folder = Listing->is_directory(Kind);
    if (!Folder && !Listing->is_regular_file(Kind)) continue;
    if (++W.Entries > MAX_MIRRORED_ENTRIES) return TooLarge(W, "too many files");
    if (!Folder) {
      const uintmax_t Size = Listing->file_size(Kind);
      if (!Kind) W.Bytes += Size;
      if (W.Bytes > MAX_MIRRORED_BYTES) return TooLarge(W, "too many bytes of files");
    }
    const std::string Path = Relative.empty() ? Name : Relative + "/" + Name;
    const auto [At, Added] = W.Out.emplace(Folded(Path), Entry{Path, Folder});
    if (!Added) {
      W.Error = (W.Root / At->second.Path).string() + " and " + Name + " are one name on a FAT volume";
      return false;
    }
    if (Folder && !WalkFolder(W, Path, Depth + 1)) return false;
  }
  if (Failed) W.Error = (W.Root / Relative).string() + ": " + Failed.message();
  return !Failed;
}

bool ListTree(const fs::path &Root, Tree &Out, std::string &Error) {
  Out.clear();
  Walk W{Root, Out, Error};
  return WalkFolder(W, "", 0);
}

bool SameContent(const fs::path &A, const fs::path &B) {
  std::error_code FailedA, FailedB;
  if (fs::file_size(A, FailedA) != fs::file_size(B, FailedB) || FailedA || FailedB) return false;
  std::ifstream InA(A, std::ios::binary), InB(B, std::ios::binary);
  std::vector<char> BufferA(1 << 16), BufferB(1 << 16);
  while (InA && InB) {
    InA.read(BufferA.data(), static_cast<std::streamsize>(BufferA.size()));
    InB.read(BufferB.data(), static_cast<std::streamsize>(BufferB.size()));
    if (InA.gcount() != InB.gcount() ||
        std::memcmp(BufferA.data(), BufferB.data(), static_cast<size_t>(InA.gcount())) != 0)
      return false;
  }
  return InA.eof() && InB.eof();
}

bool Failure(const fs::path &Path, const std::error_code &Failed, std::string &Error) {
  Error = Path.string() + ": " + Failed.message();
  return false;
}

// Makes To hold what From holds, entry by entry: the same kind, the same
// case, the same content. Removals are the caller's.
bool CopyTree(const fs::path &From, const Tree &FromTree, const fs::path &To, const Tree &ToTree, std::string &Error) {
  for (const auto &[Key, Source] : FromTree) {
    const fs::path Target = To / Source.Path;
    std::error_code Failed;
    bool Present = false;
    const auto Found = ToTree.find(Key);
    if (Found != ToTree.end()) {
      // The folders above already carry From's names; the entry itself may
      // differ in case or in kind.
      const fs::path Old = Target.parent_path() / fs::path(Found->second.Path).filename();
      if (Found->second.Folder != Source.Folder) {
        fs::remove_all(Old, Failed);
      } else {
        if (Old != Target) fs::rename(Old, Target, Failed);
        Present = true;
      }
      if (Failed) return Failure(Old, Failed, Error);
    }
    if (Source.Folder) {
      if (!Present) fs::create_directory(Target, Failed);
    } else if (!Present || !SameContent(From / Source.Path, Target)) {
      fs::copy_file(From / Source.Path, Target, fs::copy_options::overwrite_existing, Failed);
    }
    if (Failed) return Failure(Target, Failed, Error);
  }
  return true;
}

}  // namespace

FolderMirror::FolderMirror(fs::path HostFolder, fs::path InsideFolder)
    : Host(std::move(HostFolder)), Inside(std::move(InsideFolder)) {}

bool FolderMirror::Pull(std::string &Error) {
  Tree HostTree, InsideTree;
  if (!ListTree(Host, HostTree, Error) || !ListTree(Inside, InsideTree, Error)) return false;
  // What the host no longer holds goes first, while the paths are as listed.
  for (const auto &[Key, Gone] : InsideTree) {
    if (HostTree.count(Key) != 0) continue;
    std::error_code Failed;
    fs::remove_all(Inside / Gone.Path, Failed);
    if (Failed) return Failure(Inside / Gone.Path, Failed, Error);
  }
  if (!CopyTree(Host, HostTree, Inside, InsideTree, Error)) return false;
  PulledFiles.clear();
  for (const auto &[Key, Present] : HostTree) {
    if (!Present.Folder) PulledFiles.insert(Key);
  }
  return true;
}

bool FolderMirror::Push(std::string &Error) {
  Tree InsideTree, HostTree;
  if (!ListTree(Inside, InsideTree, Error) || !ListTree(Host, HostTree, Error)) return false;
  // A file the command deleted is deleted on the host; nothing else the
  // host holds is touched.
  for (const std::string &Key : PulledFiles) {
    const auto OnHost = HostTree.find(Key);
    if (InsideTree.count(Key) != 0 || OnHost == HostTree.end() || OnHost->second.Folder) continue;
    std::error_code Failed;
    fs::remove(Host / OnHost->second.Path, Failed);
    if (Failed) return Failure(Host / OnHost->second.Path, Failed, Error);
    HostTree.erase(OnHost);
  }
  return CopyTree(Inside, InsideTree, Host, HostTree, Error);
}

}  // namespace bioscfgsim

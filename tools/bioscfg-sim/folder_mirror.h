// A session's files folder and the simulated TORVEL_PATH folder, kept in
// step around every command.
//
// The host folder (--files DIR) stands for the TORVEL_PATH folder of the
// machine. Before a command, the simulated folder is made to hold what the
// host folder holds (files and folders new, changed or gone since), so that
// a file edited on the host between two commands is the file the next one
// reads; after it, what the command wrote (files new or changed, files it
// deleted) goes back to the host folder. Files compare by content, never by
// time: a command takes milliseconds, finer than the host's file times.
//
// Names pair up as on a FAT volume: without regard to ASCII case, each
// keeping the case it was created with. Left out on both sides: the
// machine's own files at the top (bioscfg.str and the three images), which
// come from --messages and the build, and names a FAT volume cannot hold.
// A host folder that holds two names FAT cannot tell apart, or more than
// MAX_MIRRORED_ENTRIES entries or MAX_MIRRORED_BYTES of files, is refused.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>

namespace bioscfgsim {

constexpr size_t MAX_MIRRORED_ENTRIES = 10000;
constexpr uintmax_t MAX_MIRRORED_BYTES = 256ull * 1024 * 1024;
constexpr size_t MAX_MIRRORED_DEPTH = 16;

class FolderMirror {
 public:
  FolderMirror(std::filesystem::path Host, std::filesystem::path Inside);

  // Host to the simulated folder, before a command. False with a reason.
  [[nodiscard]] bool Pull(std::string &Error);
  // The simulated folder to the host, after a command. False with a reason.
  [[nodiscard]] bool Push(std::string &Error);

 private:
  std::filesystem::path Host;
  std::filesystem::path Inside;
  std::set<std::string> PulledFiles;  // the files inside after the last Pull, by folded name
};

}  // namespace bioscfgsim

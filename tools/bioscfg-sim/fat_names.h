// Host files named as a FAT volume names them.
//
// The simulated TORVEL_PATH folder stands for a folder of a FAT volume, where
// "Run.ini" and "run.ini" are one file, which keeps the case it was created
// with. The host folders behind it (the current folder, a session's --files
// folder) are case-sensitive, so the host tool looks names up in them as FAT
// would, and copies a file under the name it already has on the other side.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace bioscfgsim {

// Equal but for the case of A to Z (bytes beyond ASCII compare exactly).
bool SameIgnoringAsciiCase(const std::string &A, const std::string &B);

// A name as a tool is given it, split at '\' and '/' (empty parts dropped).
std::vector<std::string> NameComponents(const std::string &Name);

// The entry of host Folder that FAT takes for Component: the one spelled so,
// else the one that differs only in ASCII case. Nothing when there is none.
// False with a reason when several differ only in case and none is spelled
// so: one FAT folder cannot hold them, so the name would be a guess.
[[nodiscard]] bool FindOnHost(const std::filesystem::path &Folder, const std::string &Component,
                              std::optional<std::string> &Found, std::string &Error);

// Folder joined with Components, each component that exists by the name it
// has on the host, the rest as given.
[[nodiscard]] bool ResolveOnHost(const std::filesystem::path &Folder, const std::vector<std::string> &Components,
                                 std::filesystem::path &Out, std::string &Error);

// A file operand of a one-shot command: the host folder that stands for the
// TORVEL_PATH folder, and the name the tool is given.
struct ToolFile {
  std::filesystem::path HostFolder;
  std::string ToolName;
};

// A relative name without ".." names a file under the TORVEL_PATH folder,
// folders included (cfg\Run.ini or cfg/Run.ini), and the current folder
// stands for that folder. Any other name is a host path: the tool is given
// its last component, and the file's host folder stands for the TORVEL_PATH
// folder.
ToolFile ToolFileOf(const std::string &Operand);

// Copies the file Name names under HostFolder into the same name under
// Inside, making there the folders of the name that the host has. Nothing
// is copied when the host has no such file.
[[nodiscard]] bool CopyInto(const std::filesystem::path &HostFolder, const std::string &Name,
                            const std::filesystem::path &Inside, std::string &Error);

// Copies the file Name names under Inside out to HostFolder: onto the file
// FAT takes for the name there, else under the name the file has inside.
// Nothing is copied when Inside has no such file.
[[nodiscard]] bool CopyOutOf(const std::filesystem::path &Inside, const std::string &Name,
                             const std::filesystem::path &HostFolder, std::string &Error);

}  // namespace bioscfgsim

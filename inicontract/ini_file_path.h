// Where an INI file named by a client lives: in the folder that the
// environment variable TORVEL_PATH names.
//
// The driver's INI export, the parser image iniparse.efi and the
// configuration tool all join names with this one routine, so that a file
// saved under a name is found again under the same name, and the driver and
// the tool find iniparse.efi where it lies. It keeps no state and calls no
// runtime function, so each image carries an identical copy.
#pragma once

#include <stddef.h>

namespace inicontract {

// The longest joined path accepted, in characters, and the buffer that holds
// it with its NUL.
constexpr size_t INI_FILE_PATH_MAX = 256;
constexpr size_t INI_FILE_PATH_BUFFER_SIZE = INI_FILE_PATH_MAX + 1;

enum class IniPathJoin {
  Joined,
  Missing,  // Directory or FileName NULL or empty (no TORVEL_PATH, or no name)
  TooLong,  // length(Directory) + length(FileName) + 1 > INI_FILE_PATH_MAX
};

// Writes Directory, then one '\' unless Directory already ends in '\', then
// FileName, into Path, which holds PathBytes bytes (at least
// INI_FILE_PATH_BUFFER_SIZE). The length test counts the two texts and one
// separator whether or not it is added. On refusal Path is emptied. Nothing
// is read past the first INI_FILE_PATH_MAX + 1 bytes of either text.
[[nodiscard]] IniPathJoin JoinIniPath(const char *Directory, const char *FileName, char *Path, size_t PathBytes);

// JoinIniPath into a buffer of exactly INI_FILE_PATH_BUFFER_SIZE; true when
// joined.
[[nodiscard]] inline bool JoinIniFilePath(const char *Directory, const char *FileName,
                                          char (&Path)[INI_FILE_PATH_BUFFER_SIZE]) {
  return JoinIniPath(Directory, FileName, Path, sizeof Path) == IniPathJoin::Joined;
}

}  // namespace inicontract

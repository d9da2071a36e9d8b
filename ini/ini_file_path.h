// Where an INI file named by a client lives: in the folder that the
// environment variable TORVEL_PATH names.
//
// The driver's INI export and the parser image iniparse.efi both compile
// this one join, so that a file saved under a name is found again under the
// same name. It is freestanding (no runtime calls, no state), so each image
// carries an identical copy.
#pragma once

#include <stddef.h>

// The longest joined path accepted, in characters, and the buffer that holds
// it with its NUL.
constexpr size_t INI_FILE_PATH_MAX = 256;
constexpr size_t INI_FILE_PATH_BUFFER_SIZE = INI_FILE_PATH_MAX + 1;

// Writes Directory, then one '\' unless Directory already ends in '\', then
// FileName, into Path. The length test counts the two texts and one
// separator whether or not it is added: refused (false, Path emptied) when
// length(Directory) + length(FileName) + 1 > INI_FILE_PATH_MAX, and when
// Directory or FileName is NULL or empty (no TORVEL_PATH, or no name).
// Nothing is read past the first INI_FILE_PATH_MAX + 1 bytes of either text.
[[nodiscard]] bool JoinIniFilePath(const char *Directory, const char *FileName,
                                   char (&Path)[INI_FILE_PATH_BUFFER_SIZE]);

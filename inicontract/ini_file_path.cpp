// Joining an INI file name onto the TORVEL_PATH folder (see ini_file_path.h).
#include "inicontract/ini_file_path.h"

namespace inicontract {

namespace {

// Length of Text, or INI_FILE_PATH_MAX + 1 when it is longer than any path
// accepted (the rest is never read).
size_t BoundedLength(const char *Text) {
  size_t Length = 0;
  while (Length <= INI_FILE_PATH_MAX && Text[Length] != '\0') ++Length;
  return Length;
}

}  // namespace

IniPathJoin JoinIniPath(const char *Directory, const char *FileName, char *Path, size_t PathBytes) {
  if (PathBytes < INI_FILE_PATH_BUFFER_SIZE) {
    if (PathBytes > 0) Path[0] = '\0';
    return IniPathJoin::TooLong;
  }
  Path[0] = '\0';
  if (Directory == nullptr || FileName == nullptr) return IniPathJoin::Missing;
  const size_t DirectoryLength = BoundedLength(Directory);
  const size_t NameLength = BoundedLength(FileName);
  if (DirectoryLength == 0 || NameLength == 0) return IniPathJoin::Missing;
  if (DirectoryLength + NameLength + 1 > INI_FILE_PATH_MAX) return IniPathJoin::TooLong;

  size_t Length = 0;
  for (size_t I = 0; I < DirectoryLength; ++I) Path[Length++] = Directory[I];
  if (Directory[DirectoryLength - 1] != '\\') Path[Length++] = '\\';
  for (size_t I = 0; I < NameLength; ++I) Path[Length++] = FileName[I];
  Path[Length] = '\0';
  return IniPathJoin::Joined;
}

}  // namespace inicontract

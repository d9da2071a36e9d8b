#include "client/ini_files.h"

#include "runtime/crt.h"
#include "runtime/owned.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::INI_FILE_PATH_MAX;
using inicontract::JoinIniFilePath;

namespace {

constexpr UINTN MAX_BACKUPS = 999;

[[nodiscard]] bool PathOf(const char *Name, char (&Path)[INI_FILE_PATH_BUFFER_SIZE]) {
  return JoinIniFilePath(crt::getenv("TORVEL_PATH"), Name, Path);
}

}  // namespace

bool IniFileExists(const char *Name) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!PathOf(Name, Path)) return false;
  crt::OpenStream File(crt::fopen(Path, "rb"));
  return File.Get() != nullptr;
}

bool EmptyIniFile(const char *Name) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!PathOf(Name, Path)) return false;
  crt::OpenStream File(crt::fopen(Path, "wb"));
  return File.Get() != nullptr;
}

bool ReadIniFile(const char *Name, crt::HeapPtr<char> &Text, UINTN &Length) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!PathOf(Name, Path)) return false;
  crt::OpenStream File(crt::fopen(Path, "rb"));
  if (File.Get() == nullptr) return false;
  UINT64 Size = 0;
  EFI_TIME Modified{};
  if (EFI_ERROR(crt::FileSizeAndTime(File.Get(), &Size, &Modified)) || Size > MAX_TOOL_INI_BYTES) return false;
  Text.Reset(static_cast<char *>(crt::malloc(static_cast<UINTN>(Size) + 1)));
  if (!Text) return false;
  Length = crt::fread(Text.Get(), 1, static_cast<UINTN>(Size), File.Get());
  Text.Get()[Length] = '\0';
  return Length == Size;
}

bool FreeBackupNames(const char *File, char (&Ini)[INI_FILE_PATH_BUFFER_SIZE],
                     char (&Snapshot)[INI_FILE_PATH_BUFFER_SIZE]) {
  static constexpr char SNAPSHOT_EXTENSION[] = ".vars";
  const UINTN Length = crt::strnlen(File, INI_FILE_PATH_MAX + 1);
  // The extension starts at the last '.' after the last separator.
  UINTN Stem = Length;
  for (UINTN Index = Length; Index > 0; --Index) {
    const char C = File[Index - 1];
    if (C == '\\' || C == '/' || C == ':') break;
    if (C == '.') {
      Stem = Index - 1;
      break;
    }
  }
  for (UINTN Number = 1; Number <= MAX_BACKUPS; ++Number) {
    char Suffix[24];
    const int SuffixLength = crt::snprintf(Suffix, sizeof(Suffix), "-backup-%u", static_cast<unsigned>(Number));
    if (SuffixLength < 0) return false;
    const UINTN Named = Stem + static_cast<UINTN>(SuffixLength);
    if (Named + (Length - Stem) >= INI_FILE_PATH_BUFFER_SIZE ||
        Named + sizeof(SNAPSHOT_EXTENSION) > INI_FILE_PATH_BUFFER_SIZE) {
      return false;
    }
    crt::memcpy(Ini, File, Stem);
    crt::memcpy(Ini + Stem, Suffix, static_cast<UINTN>(SuffixLength));
    crt::memcpy(Snapshot, Ini, Named);
    crt::memcpy(Ini + Named, File + Stem, Length - Stem + 1);
    crt::memcpy(Snapshot + Named, SNAPSHOT_EXTENSION, sizeof(SNAPSHOT_EXTENSION));
    if (!IniFileExists(Ini) && !IniFileExists(Snapshot)) return true;
  }
  return false;
}

// Resolving, reading and re-reading the indexed file (see ini_file_cache.h).
#include "iniparse/ini_file_cache.h"

#include "inicontract/ini_file_path.h"
#include "inicontract/ini_parser_protocol.h"
#include "iniparse/image_state.h"
#include "iniparse/ini_index.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::INI_FILE_PATH_MAX;
using inicontract::JoinIniFilePath;

namespace iniparse {

namespace {

// A name that contains ':' names its volume ("fs1:\cfg\a.ini") and is used
// as it is; any other name lives in the TORVEL_PATH folder, joined exactly
// as the driver's export joins it.
[[nodiscard]] bool ResolveIniFileName(const char *Name, char (&Path)[INI_FILE_PATH_BUFFER_SIZE]) {
  Path[0] = '\0';
  if (Name == nullptr) return false;
  size_t Length = 0;
  bool HasVolume = false;
  for (; Length <= INI_FILE_PATH_MAX && Name[Length] != '\0'; ++Length) HasVolume = HasVolume || Name[Length] == ':';
  if (!HasVolume) return JoinIniFilePath(crt::getenv("TORVEL_PATH"), Name, Path);
  if (Length > INI_FILE_PATH_MAX) return false;
  crt::memcpy(Path, Name, Length);
  Path[Length] = '\0';
  return true;
}

bool SameTime(const EFI_TIME &A, const EFI_TIME &B) {
  return A.Year == B.Year && A.Month == B.Month && A.Day == B.Day && A.Hour == B.Hour && A.Minute == B.Minute &&
         A.Second == B.Second && A.Nanosecond == B.Nanosecond && A.TimeZone == B.TimeZone &&
         A.Daylight == B.Daylight;
}

// Drops the indexed file: after this the image holds no file and no index.
void ForgetIndexedFile() {
  crt::detail::CloseStream(gParser.Stream);
  crt::Delete(gParser.Index);
  gParser.Stream = nullptr;
  gParser.Index = nullptr;
  gParser.Path[0] = '\0';
}

bool IndexedFileIsCurrent(const char *Path) {
  if (gParser.Index == nullptr || crt::strcmp(Path, gParser.Path) != 0) return false;
  UINT64 Size = 0;
  EFI_TIME Modified{};
  if (EFI_ERROR(crt::FileSizeAndTime(gParser.Stream, &Size, &Modified))) return false;
  return Size == gParser.Size && SameTime(Modified, gParser.Modified);
}

[[nodiscard]] INT32 ReadAndIndex(const char (&Path)[INI_FILE_PATH_BUFFER_SIZE]) {
  crt::OpenStream Stream(crt::fopen(Path, "rb"));
  if (!Stream) return INI_LOOKUP_SECTION_NOT_FOUND;
  UINT64 Size = 0;
  EFI_TIME Modified{};
  if (EFI_ERROR(crt::FileSizeAndTime(Stream.Get(), &Size, &Modified))) return INI_LOOKUP_READ_ERROR;
  if (Size > MAX_INI_FILE_BYTES) return INI_LOOKUP_SECTION_NOT_FOUND;
  const auto Length = static_cast<UINT32>(Size);
  // One byte more, so that an empty file is a block like any other.
  crt::HeapPtr<char> Text(static_cast<char *>(crt::malloc(Length + 1)));
  if (!Text) return INI_LOOKUP_READ_ERROR;
  if (crt::fread(Text.Get(), 1, Length, Stream.Get()) != Length) return INI_LOOKUP_READ_ERROR;

  IniIndex *Index = nullptr;
  const IndexBuild Built = IniIndex::Build(Text.Release(), Length, Index);
  if (Built == IndexBuild::TooLarge) return INI_LOOKUP_SECTION_NOT_FOUND;
  if (Built != IndexBuild::Built) return INI_LOOKUP_READ_ERROR;

  crt::memcpy(gParser.Path, Path, sizeof gParser.Path);
  gParser.Stream = Stream.Release();
  gParser.Size = Size;
  gParser.Modified = Modified;
  gParser.Index = Index;
  return INI_LOOKUP_FOUND;
}

}  // namespace

INT32 IndexForFile(const char *IniFileName, bool ReadAgain, const IniIndex *&Index) {
  Index = nullptr;
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!ResolveIniFileName(IniFileName, Path)) return INI_LOOKUP_SECTION_NOT_FOUND;
  if (ReadAgain || !IndexedFileIsCurrent(Path)) {
    // The old index goes first: the image never holds two files' worth.
    ForgetIndexedFile();
    const INT32 Result = ReadAndIndex(Path);
    if (Result != INI_LOOKUP_FOUND) return Result;
  }
  Index = gParser.Index;
  return INI_LOOKUP_FOUND;
}

}  // namespace iniparse

#include "messages/message_catalog.h"

namespace {

// Builds "<TORVEL_PATH><FileName>" on the heap, or returns NULL through Path
// with the load result to give. The directory is converted into a buffer of
// CATALOG_DIRECTORY_CHARS characters; an unset, empty or too long value has
// no usable directory and counts as a file that can't be opened.
UINT64 BuildCatalogPath(const CHAR16 *FileName, CHAR16 **Path) {
  *Path = nullptr;
  const char *Directory = crt::getenv("TORVEL_PATH");
  if (Directory == nullptr) return CATALOG_CANNOT_OPEN;
  const size_t DirectoryLength = crt::strnlen(Directory, CATALOG_DIRECTORY_CHARS);
  if (DirectoryLength == 0 || DirectoryLength >= CATALOG_DIRECTORY_CHARS) return CATALOG_CANNOT_OPEN;

  CHAR16 WideDirectory[CATALOG_DIRECTORY_CHARS];
  const size_t Converted = crt::mbstowcs(WideDirectory, Directory, CATALOG_DIRECTORY_CHARS);
  if (Converted == static_cast<size_t>(-1) || Converted != DirectoryLength) return CATALOG_CANNOT_OPEN;

  const size_t NameLength = crt::wcslen(FileName);
  auto *Joined = static_cast<CHAR16 *>(
      crt::calloc(DirectoryLength + NameLength + 1, sizeof(CHAR16)));
  if (Joined == nullptr) return CATALOG_OUT_OF_MEMORY;
  crt::memcpy(Joined, WideDirectory, DirectoryLength * sizeof(CHAR16));
  crt::memcpy(Joined + DirectoryLength, FileName, NameLength * sizeof(CHAR16));
  *Path = Joined;
  return CATALOG_LOADED;
}

// The runtime's streams take 8-bit names.
crt::FILE *OpenWide(const CHAR16 *Path) {
  const size_t Length = crt::wcstombs(nullptr, Path, 0);
  if (Length == static_cast<size_t>(-1)) return nullptr;
  auto *Name = static_cast<char *>(crt::malloc(Length + 1));
  if (Name == nullptr) return nullptr;
  crt::FILE *Stream = nullptr;
  if (crt::wcstombs(Name, Path, Length + 1) == Length) Stream = crt::fopen(Name, "rb");
  crt::free(Name);
  return Stream;
}

}  // namespace

MessageCatalog::MessageCatalog()
    : FilePath(nullptr), Stream(nullptr), Count(0), Offsets(nullptr), Lengths(nullptr),
      Texts(nullptr), FileWords(0) {}

MessageCatalog::~MessageCatalog() { Discard(); }

void MessageCatalog::Discard() {
  if (Texts != nullptr) {
    for (UINT32 N = 0; N < Count; ++N) crt::free(Texts[N]);
  }
  crt::free(Texts);
  crt::free(Offsets);
  crt::free(Lengths);
  crt::free(FilePath);
  if (Stream != nullptr) (void)crt::fclose(Stream);
  Texts = nullptr;
  Offsets = nullptr;
  Lengths = nullptr;
  FilePath = nullptr;
  Stream = nullptr;
  Count = 0;
  FileWords = 0;
}

bool MessageCatalog::ReadUint32(UINT32 *Value) {
  UINT8 Bytes[4];
  if (crt::fread(Bytes, 1, sizeof Bytes, Stream) != sizeof Bytes) return false;
  *Value = static_cast<UINT32>(Bytes[0]) | static_cast<UINT32>(Bytes[1]) << 8 |
           static_cast<UINT32>(Bytes[2]) << 16 | static_cast<UINT32>(Bytes[3]) << 24;
  return true;
}

UINT64 MessageCatalog::CheckWordSum() {
  if (crt::fseek(Stream, 0, crt::CRT_SEEK_SET) != 0) return CATALOG_READ_FAILED;
  UINT16 Sum = 0;
  UINT8 Word[2];
  // Ends at the first short read: the file is finite, and a final odd byte
  // does not count.
  while (crt::fread(Word, 1, sizeof Word, Stream) == sizeof Word) {
    Sum = static_cast<UINT16>(Sum + (Word[0] | Word[1] << 8));
    ++FileWords;
    if (crt::feof(Stream)) break;
  }
  return Sum == 0 ? CATALOG_LOADED : CATALOG_BAD_CHECKSUM;
}

UINT64 MessageCatalog::ReadTables() {
  // Both tables must fit inside the file before anything is allocated for
  // them, so a huge count can't ask for huge memory.
  const UINT64 TableWords = 2 + 4 * static_cast<UINT64>(Count);
  if (TableWords > FileWords) return CATALOG_READ_FAILED;

  Offsets = static_cast<UINT32 *>(crt::calloc(Count, sizeof(UINT32)));
  Lengths = static_cast<UINT32 *>(crt::calloc(Count, sizeof(UINT32)));
  Texts = static_cast<CHAR16 **>(crt::calloc(Count, sizeof(CHAR16 *)));
  if (Offsets == nullptr || Lengths == nullptr || Texts == nullptr) return CATALOG_OUT_OF_MEMORY;

  for (UINT32 N = 0; N < Count; ++N) {
    if (!ReadUint32(&Offsets[N])) return CATALOG_READ_FAILED;
    if (Offsets[N] % 2 != 0) return CATALOG_BAD_OFFSET;
  }
  for (UINT32 N = 0; N < Count; ++N) {
    if (!ReadUint32(&Lengths[N])) return CATALOG_READ_FAILED;
  }
  if (Offsets[0] != 4 + 8 * static_cast<UINT64>(Count)) return CATALOG_BAD_OFFSET;
  return CATALOG_LOADED;
}

UINT64 MessageCatalog::Load(const CHAR16 *FileName, UINT32 ExpectedCount) {
  Discard();
  if (FileName == nullptr) return CATALOG_NO_FILE_NAME;

  const UINT64 PathResult = BuildCatalogPath(FileName, &FilePath);
  if (PathResult != CATALOG_LOADED) return PathResult;

  Stream = OpenWide(FilePath);
  if (Stream == nullptr) {
    Discard();
    return CATALOG_CANNOT_OPEN;
  }

  UINT64 Result = CheckWordSum();
  if (Result == CATALOG_LOADED) {
    if (crt::fseek(Stream, 0, crt::CRT_SEEK_SET) != 0 || !ReadUint32(&Count)) {
      Count = 0;
      Result = CATALOG_READ_FAILED;
    }
  }
  if (Result == CATALOG_LOADED && ExpectedCount != 0 && ExpectedCount != Count) {
    Result = CATALOG_COUNT_MISMATCH;
  }
  if (Result == CATALOG_LOADED && Count == 0) Result = CATALOG_NO_MESSAGES;
  if (Result == CATALOG_LOADED) Result = ReadTables();
  if (Result != CATALOG_LOADED) Discard();
  return Result;
}

const CHAR16 *MessageCatalog::GetMessage(UINT64 Number) {
  if (Number >= Count || Texts == nullptr) return nullptr;
  if (Texts[Number] != nullptr) return Texts[Number];

  const UINT32 Length = Lengths[Number];
  const UINT64 FirstWord = Offsets[Number] / 2;
  // A text must hold at least its terminating zero and lie inside the file.
  if (Length == 0 || FirstWord + Length > FileWords) return nullptr;

  auto *Text = static_cast<CHAR16 *>(crt::malloc(static_cast<size_t>(Length) * sizeof(CHAR16)));
  if (Text == nullptr) return nullptr;
  bool ReadAll = crt::fseek(Stream, static_cast<long>(Offsets[Number]), crt::CRT_SEEK_SET) == 0;
  for (UINT32 I = 0; ReadAll && I < Length; ++I) {
    UINT8 Unit[2];
    ReadAll = crt::fread(Unit, 1, sizeof Unit, Stream) == sizeof Unit;
    if (ReadAll) Text[I] = static_cast<CHAR16>(Unit[0] | Unit[1] << 8);
  }
  // The text is used as a format string, so it must end with its zero.
  if (!ReadAll || Text[Length - 1] != 0) {
    crt::free(Text);
    return nullptr;
  }
  Texts[Number] = Text;
  return Text;
}

// The driver's numbered message texts, kept in the file bioscfg.str in the
// TORVEL_PATH directory (layout: tools/strc/README.md).
//
// Load checks the file's 16-bit word sum and reads only the header and the
// two tables; the file then stays open and GetMessage reads each text on its
// first use and caches it, so a session reads only the messages it needs.
#pragma once

#include "runtime/crt.h"
#include "runtime/uefi.h"

// Results of MessageCatalog::Load.
enum : UINT64 {
  CATALOG_LOADED = 0,
  CATALOG_NO_FILE_NAME = 1,
  CATALOG_OUT_OF_MEMORY = 2,
  CATALOG_CANNOT_OPEN = 4,       // includes TORVEL_PATH unset, empty or too long
  CATALOG_READ_FAILED = 5,       // seek or read failed, or the file ends inside the tables
  CATALOG_BAD_CHECKSUM = 6,
  CATALOG_NO_MESSAGES = 7,
  CATALOG_BAD_OFFSET = 8,        // odd offset, or the first text not right after the tables
  CATALOG_COUNT_MISMATCH = 11,
};

// Longest TORVEL_PATH the catalog accepts is one less than this.
constexpr size_t CATALOG_DIRECTORY_CHARS = 64;

class MessageCatalog {
 public:
  MessageCatalog();
  ~MessageCatalog();
  MessageCatalog(const MessageCatalog &) = delete;
  MessageCatalog &operator=(const MessageCatalog &) = delete;

  // (Re)loads from TORVEL_PATH followed directly by FileName (which brings
  // its own leading separator, as in "/bioscfg.str"). ExpectedCount 0
  // accepts any message count. Returns one of the CATALOG_* results.
  [[nodiscard]] UINT64 Load(const CHAR16 *FileName, UINT32 ExpectedCount);

  // Text of message Number, or NULL when there is no such message, its
  // length is 0, it does not lie inside the file, it lacks its terminating
  // zero, or reading it fails (a later call tries again). The text belongs
  // to the catalog until it is destroyed or loaded again.
  const CHAR16 *GetMessage(UINT64 Number);

  CHAR16 *FilePath;
  crt::FILE *Stream;
  UINT32 Count;
  UINT32 *Offsets;
  UINT32 *Lengths;
  CHAR16 **Texts;
  // Whole 16-bit words in the file, counted by the checksum pass: texts
  // that would reach past them are refused without allocating for them.
  UINT64 FileWords;

 private:
  void Discard();
  [[nodiscard]] UINT64 CheckWordSum();
  [[nodiscard]] UINT64 ReadTables();
  [[nodiscard]] bool ReadUint32(UINT32 *Value);
};

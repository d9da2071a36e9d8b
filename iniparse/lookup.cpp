// One key lookup: find the file's index, then the key, then hand the value
// over within the caller's ValueSize.
#include "iniparse/lookup.h"

#include "iniparse/ini_file_cache.h"
#include "iniparse/ini_index.h"
#include "runtime/crt.h"

namespace iniparse {

namespace {

// How far a caller's name is read. A name that reaches this without its NUL
// is longer than any name in a file can be, so it matches nothing.
constexpr UINT32 CALLER_NAME_LIMIT = 2 * MAX_INI_NAME;

NameText CallerName(const CHAR8 *Name, bool DropBlanks) {
  const char *Text = Name != nullptr ? reinterpret_cast<const char *>(Name) : "";
  UINT32 Length = 0;
  while (Length < CALLER_NAME_LIMIT && Text[Length] != '\0') ++Length;
  if (Length == CALLER_NAME_LIMIT) return NameText{Text, MAX_INI_NAME + 1};
  if (!DropBlanks) return NameText{Text, Length};
  const TextSpan Trimmed = TrimBlanks(Text, 0, Length);
  return NameText{Text + Trimmed.Offset, Trimmed.Length};
}

// The lookup's own type must be the protocol's, calling convention included.
[[maybe_unused]] constexpr INI_PARSER_LOOKUP LOOKUP_HAS_PROTOCOL_TYPE = IniParserLookup;

}  // namespace

INT32 INI_PARSER_EFIAPI IniParserLookup(CHAR8 *SectionName, CHAR8 *KeyName, CHAR8 *AuxText, CHAR8 *Value,
                                        UINT16 ValueSize, CHAR8 *IniFileName, UINT16 LookupFlags) {
  // AuxText and LookupFlags carry nothing this parser uses.
  static_cast<void>(AuxText);
  static_cast<void>(LookupFlags);
  if (SectionName == nullptr) return INI_LOOKUP_SECTION_NOT_FOUND;
  const NameText Key = CallerName(KeyName, true);
  const bool Probe = Key.Length == 0;  // an import starting: read the file afresh
  const IniIndex *Index = nullptr;
  const INT32 Opened = IndexForFile(reinterpret_cast<const char *>(IniFileName), Probe, Index);
  if (Opened != INI_LOOKUP_FOUND) return Opened;

  TextSpan Found{0, 0};
  const INT32 Result = Index->Find(CallerName(SectionName, false), Key, Found);
  if (Result != INI_LOOKUP_FOUND) return Result;
  // A NUL byte in the file ends the value as a C string sees it, and the
  // caller's buffer gets no more than that string and its NUL.
  const char *Text = Index->Text() + Found.Offset;
  UINT32 Length = 0;
  while (Length < Found.Length && Text[Length] != '\0') ++Length;
  // The value and its NUL must fit in ValueSize; otherwise nothing is written.
  if (Value == nullptr || Length >= ValueSize) return INI_LOOKUP_VALUE_TOO_LONG;
  crt::memcpy(Value, Text, Length);
  Value[Length] = '\0';
  return INI_LOOKUP_FOUND;
}

}  // namespace iniparse

// The text Config Routing speaks (uefi/hii_config.h): <ConfigHdr> and
// OFFSET/WIDTH/VALUE elements for a buffer store, written the way EDK2's HII
// library writes them (lower-case hex; GUID and device path byte by byte;
// the name four digits per unit; a VALUE's bytes last byte first), because
// drivers built on that library compare the GUID and NAME text as written.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

// Where routing finds a buffer store: its GUID and name (from the forms'
// varstore) and the device path of the package list that declares it.
struct StoreAddress {
  EFI_GUID Guid;
  const CHAR16 *Name;
  UINT32 NameLength;  // units, without a NUL
  const UINT8 *DevicePath;
  UINT32 DevicePathLength;  // bytes, end node included
};

// A growing NUL-terminated CHAR16 text in the runtime heap. A failed
// allocation is remembered: Text() is nullptr from then on.
class ConfigText {
 public:
  ConfigText() = default;
  ~ConfigText();
  ConfigText(const ConfigText &) = delete;
  ConfigText &operator=(const ConfigText &) = delete;

  void Append(const char *Ascii);
  void AppendUnit(CHAR16 Unit);
  void AppendHexByte(UINT8 Byte);
  void AppendHexNumber(UINT64 Value);  // no leading zeros
  const CHAR16 *Text() const { return Failed ? nullptr : Units; }
  CHAR16 *Mutable() { return Failed ? nullptr : Units; }
  UINTN Length() const { return Used; }

 private:
  bool Reserve(UINTN More);
  CHAR16 *Units = nullptr;
  UINTN Used = 0;
  UINTN Capacity = 0;
  bool Failed = false;
};

// "GUID=...&NAME=...&PATH=..." for Store.
void AppendConfigHeader(ConfigText &Out, const StoreAddress &Store);
// "&OFFSET=<Offset>&WIDTH=<Width>&VALUE=<Bytes[Offset + Width - 1] ... Bytes[Offset]>".
void AppendValueElement(ConfigText &Out, UINT32 Offset, UINT32 Width, const UINT8 *Bytes);

// Longest answer read from routing, in units: far beyond any store's text.
constexpr UINTN MAX_ANSWER_UNITS = 4 * 1024 * 1024;

// Reads the first block of Answer (routing's reply to a request for Store)
// into Block, Size bytes that the caller has filled with zeros: every
// element's VALUE lands at its OFFSET. Reading stops at the next "&GUID=",
// where routing's ALTCFG sections of default values begin. EFI_SUCCESS;
// EFI_DEVICE_ERROR when the answer is not text for Store (another GUID or
// name, no NUL within MAX_ANSWER_UNITS, an unknown field, a number that is
// not hex, a VALUE whose digits are not twice its WIDTH, an element beyond
// Size).
[[nodiscard]] EFI_STATUS ReadConfigAnswer(const CHAR16 *Answer, const StoreAddress &Store, UINT8 *Block, UINT32 Size);

// The NAME (decoded, at most Capacity units) of the <ConfigHdr>s in Answer
// that carry Guid: true when they all name one store, false when none does,
// they name several, or a name is not hex or too long. Sections of default
// values repeat a header and count once.
bool NameForGuid(const CHAR16 *Answer, const EFI_GUID &Guid, CHAR16 *Out, UINT32 Capacity, UINT32 &Length);

}  // namespace hiicompat

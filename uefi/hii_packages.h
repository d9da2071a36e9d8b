// UEFI 2.x HII package lists and packages (the HII database's export format),
// as far as this project reads or writes them: the package list header, the
// package header, string packages and their string blocks, form packages and
// the device path package. gnu-efi 3.0.15 has none of these.
//
// Everything is packed and little-endian, and nothing in an exported package
// list is aligned beyond what its producer chose: readers take fields
// byte-wise at the offsets pinned below instead of dereferencing the structs.
#pragma once

#include "runtime/uefi.h"

typedef VOID *EFI_HII_HANDLE;
typedef CHAR16 *EFI_STRING;
typedef UINT16 EFI_STRING_ID;
typedef UINT16 EFI_QUESTION_ID;
typedef UINT16 EFI_FORM_ID;
typedef UINT16 EFI_VARSTORE_ID;
typedef UINT16 EFI_DEFAULT_ID;

#pragma pack(push, 1)

// ---- package lists and packages ------------------------------------------------

// A package list: this header, then packages up to and including an end
// package. PackageLength counts the header and every package.
struct EFI_HII_PACKAGE_LIST_HEADER {
  EFI_GUID PackageListGuid;
  UINT32 PackageLength;
};
static_assert(sizeof(EFI_HII_PACKAGE_LIST_HEADER) == 20);
static_assert(offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength) == 16);

// Every package starts with a 24-bit length (header included) and an 8-bit
// type, packed into one little-endian UINT32: length in bytes 0..2, type in
// byte 3.
struct EFI_HII_PACKAGE_HEADER {
  UINT32 Length : 24;
  UINT32 Type : 8;
};
static_assert(sizeof(EFI_HII_PACKAGE_HEADER) == 4);

constexpr UINT32 EFI_HII_PACKAGE_HEADER_SIZE = 4;
constexpr UINT32 EFI_HII_PACKAGE_MAX_LENGTH = 0xFFFFFF;

inline UINT32 HiiPackageLengthAt(const UINT8 *Header) {
  return static_cast<UINT32>(Header[0]) | (static_cast<UINT32>(Header[1]) << 8) |
         (static_cast<UINT32>(Header[2]) << 16);
}
inline UINT8 HiiPackageTypeAt(const UINT8 *Header) { return Header[3]; }

constexpr UINT8 EFI_HII_PACKAGE_TYPE_ALL = 0x00;
constexpr UINT8 EFI_HII_PACKAGE_TYPE_GUID = 0x01;
constexpr UINT8 EFI_HII_PACKAGE_FORMS = 0x02;
constexpr UINT8 EFI_HII_PACKAGE_STRINGS = 0x04;
constexpr UINT8 EFI_HII_PACKAGE_FONTS = 0x05;
constexpr UINT8 EFI_HII_PACKAGE_IMAGES = 0x06;
constexpr UINT8 EFI_HII_PACKAGE_SIMPLE_FONTS = 0x07;
constexpr UINT8 EFI_HII_PACKAGE_DEVICE_PATH = 0x08;
constexpr UINT8 EFI_HII_PACKAGE_KEYBOARD_LAYOUT = 0x09;
constexpr UINT8 EFI_HII_PACKAGE_ANIMATIONS = 0x0A;
constexpr UINT8 EFI_HII_PACKAGE_END = 0xDF;

// ---- device path package ------------------------------------------------------------

// The device path of the driver that owns the package list follows the
// header; Config Routing names the owner by it (PATH= of a ConfigHdr).
struct EFI_HII_DEVICE_PATH_PACKAGE_HDR {
  EFI_HII_PACKAGE_HEADER Header;
  // EFI_DEVICE_PATH_PROTOCOL DevicePath[] follows.
};
static_assert(sizeof(EFI_HII_DEVICE_PATH_PACKAGE_HDR) == 4);

// ---- form package -----------------------------------------------------------------------

// UEFI IFR opcodes follow the header (uefi/uefi_ifr.h).
struct EFI_HII_FORM_PACKAGE_HDR {
  EFI_HII_PACKAGE_HEADER Header;
};
static_assert(sizeof(EFI_HII_FORM_PACKAGE_HDR) == 4);

// ---- string package ----------------------------------------------------------------------

// One language's strings. The ASCII language tag ("en-US") starts at byte
// 46 and runs to its NUL; HdrSize is where the string blocks start
// (StringInfoOffset says the same from the package's start).
struct EFI_HII_STRING_PACKAGE_HDR {
  EFI_HII_PACKAGE_HEADER Header;
  UINT32 HdrSize;
  UINT32 StringInfoOffset;
  CHAR16 LanguageWindow[16];
  EFI_STRING_ID LanguageName;
  CHAR8 Language[1];
};
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, HdrSize) == 4);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, StringInfoOffset) == 8);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, LanguageWindow) == 12);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, LanguageName) == 44);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, Language) == 46);

// String blocks: a type byte, then what the type says. String ids count
// from 1 in block order: each string a block holds takes the next id, a skip
// block jumps ahead, the other blocks take none.
constexpr UINT8 EFI_HII_SIBT_END = 0x00;
constexpr UINT8 EFI_HII_SIBT_STRING_SCSU = 0x10;        // NUL-terminated 8-bit text
constexpr UINT8 EFI_HII_SIBT_STRING_SCSU_FONT = 0x11;   // font id byte, then as 0x10
constexpr UINT8 EFI_HII_SIBT_STRINGS_SCSU = 0x12;       // UINT16 count, then that many texts
constexpr UINT8 EFI_HII_SIBT_STRINGS_SCSU_FONT = 0x13;  // font id byte, then as 0x12
constexpr UINT8 EFI_HII_SIBT_STRING_UCS2 = 0x14;        // NUL-terminated UCS-2 text
constexpr UINT8 EFI_HII_SIBT_STRING_UCS2_FONT = 0x15;   // font id byte, then as 0x14
constexpr UINT8 EFI_HII_SIBT_STRINGS_UCS2 = 0x16;       // UINT16 count, then that many texts
constexpr UINT8 EFI_HII_SIBT_STRINGS_UCS2_FONT = 0x17;  // font id byte, then as 0x16
constexpr UINT8 EFI_HII_SIBT_DUPLICATE = 0x20;          // UINT16 id whose text this id repeats
constexpr UINT8 EFI_HII_SIBT_SKIP2 = 0x21;              // UINT16 count of ids skipped
constexpr UINT8 EFI_HII_SIBT_SKIP1 = 0x22;              // UINT8 count of ids skipped
constexpr UINT8 EFI_HII_SIBT_EXT1 = 0x30;               // type byte, UINT8 block length
constexpr UINT8 EFI_HII_SIBT_EXT2 = 0x31;               // type byte, UINT16 block length
constexpr UINT8 EFI_HII_SIBT_EXT4 = 0x32;               // type byte, UINT32 block length
constexpr UINT8 EFI_HII_SIBT_FONT = 0x40;               // an EXT2 block type: a font, no string

struct EFI_HII_SIBT_EXT2_BLOCK {
  UINT8 BlockType;
  UINT8 BlockType2;
  UINT16 Length;  // of the whole block
};
static_assert(sizeof(EFI_HII_SIBT_EXT2_BLOCK) == 4);

struct EFI_HII_SIBT_EXT4_BLOCK {
  UINT8 BlockType;
  UINT8 BlockType2;
  UINT32 Length;  // of the whole block
};
static_assert(sizeof(EFI_HII_SIBT_EXT4_BLOCK) == 6);

#pragma pack(pop)

// Framework IFR opcode numbers and flag bits (Framework HII specification,
// the IFR encoding that preceded UEFI 2.1's). Every opcode starts with its
// number and its total length in bytes; operands follow, packed and
// little-endian.
#pragma once

#include <cstdint>

namespace hiibuild {

enum IfrOpCode : uint8_t {
  IFR_FORM = 0x01,
  IFR_SUBTITLE = 0x02,
  IFR_TEXT = 0x03,
  IFR_ONE_OF = 0x05,
  IFR_CHECKBOX = 0x06,
  IFR_NUMERIC = 0x07,
  IFR_PASSWORD = 0x08,
  IFR_ONE_OF_OPTION = 0x09,
  IFR_SUPPRESS_IF = 0x0A,
  IFR_END_FORM = 0x0B,
  IFR_HIDDEN = 0x0C,
  IFR_END_FORM_SET = 0x0D,
  IFR_FORM_SET = 0x0E,
  IFR_REF = 0x0F,
  IFR_END_ONE_OF = 0x10,
  IFR_INCONSISTENT_IF = 0x11,
  IFR_EQ_ID_VAL = 0x12,
  IFR_EQ_ID_ID = 0x13,
  IFR_EQ_ID_LIST = 0x14,
  IFR_AND = 0x15,
  IFR_OR = 0x16,
  IFR_NOT = 0x17,
  IFR_END_IF = 0x18,
  IFR_GRAYOUT_IF = 0x19,
  IFR_LABEL = 0x1D,
  IFR_ORDERED_LIST = 0x23,
  IFR_VARSTORE = 0x24,
  IFR_VARSTORE_SELECT = 0x25,
  IFR_VARSTORE_SELECT_PAIR = 0x26,
};

// Question and option flags.
enum IfrFlag : uint8_t {
  IFR_FLAG_DEFAULT = 0x01,
  IFR_FLAG_MANUFACTURING = 0x02,
  IFR_FLAG_INTERACTIVE = 0x04,
  IFR_FLAG_NV_ACCESS = 0x08,
  IFR_FLAG_RESET_REQUIRED = 0x10,
  IFR_FLAG_LATE_CHECK = 0x20,
};

// Encoded lengths of the fixed-size opcodes.
namespace ifr_length {
constexpr uint8_t FORM = 6;
constexpr uint8_t SUBTITLE = 4;
constexpr uint8_t TEXT = 11;
constexpr uint8_t ONE_OF = 9;
constexpr uint8_t CHECKBOX = 12;
constexpr uint8_t NUMERIC = 20;
constexpr uint8_t PASSWORD = 16;
constexpr uint8_t ONE_OF_OPTION = 9;
constexpr uint8_t SUPPRESS_IF = 3;
constexpr uint8_t GRAYOUT_IF = 3;
constexpr uint8_t HIDDEN = 6;
constexpr uint8_t FORM_SET = 36;
constexpr uint8_t REF = 11;
constexpr uint8_t INCONSISTENT_IF = 5;
constexpr uint8_t EQ_ID_VAL = 7;
constexpr uint8_t EQ_ID_ID = 7;
constexpr uint8_t EQ_ID_LIST_BASE = 7;  // plus two bytes per listed value
constexpr uint8_t LABEL = 4;
constexpr uint8_t ORDERED_LIST = 9;
constexpr uint8_t VARSTORE_BASE = 22;  // plus the ASCII name and its NUL
constexpr uint8_t VARSTORE_SELECT = 4;
constexpr uint8_t VARSTORE_SELECT_PAIR = 6;
constexpr uint8_t BARE = 2;  // end form, end form set, end one-of, and/or/not, end-if
}  // namespace ifr_length

// Pack types of the Framework HII database.
enum HiiPackType : uint16_t {
  HII_PACK_STRING = 2,
  HII_PACK_IFR = 3,
  HII_PACK_VARIABLE = 6,
};

// Layout of the export and its packs (byte offsets).
namespace hii_layout {
constexpr uint32_t CLASSIC_HEADER_SIZE = 18;   // UINT16 count, GUID
constexpr uint32_t EXTENDED_HEADER_SIZE = 20;  // UINT32 count, GUID
constexpr uint32_t DATA_TABLE_HEADER_SIZE = 46;
constexpr uint32_t TABLE_HANDLE = 0;
constexpr uint32_t TABLE_PACKAGE_GUID = 2;
constexpr uint32_t TABLE_SIZE = 18;
constexpr uint32_t TABLE_IFR_OFFSET = 22;
constexpr uint32_t TABLE_STRING_OFFSET = 26;
constexpr uint32_t TABLE_VARIABLE_OFFSET = 30;
constexpr uint32_t TABLE_DEVICE_PATH_OFFSET = 34;
constexpr uint32_t TABLE_VARIABLE_COUNT = 38;
constexpr uint32_t TABLE_LANGUAGE_COUNT = 42;
constexpr uint32_t PACK_LENGTH = 0;
constexpr uint32_t PACK_TYPE = 4;
constexpr uint32_t PACK_HEADER_SIZE = 6;
constexpr uint32_t STRING_LANGUAGE_NAME = 6;
constexpr uint32_t STRING_PRINTABLE_NAME = 10;
constexpr uint32_t STRING_POINTER_COUNT = 14;
constexpr uint32_t STRING_ATTRIBUTES = 18;
constexpr uint32_t STRING_POINTERS = 22;
constexpr uint32_t VARIABLE_GUID = 6;
constexpr uint32_t VARIABLE_NAME_LENGTH = 22;
constexpr uint32_t VARIABLE_ID = 26;
constexpr uint32_t VARIABLE_NAME = 28;
}  // namespace hii_layout

}  // namespace hiibuild

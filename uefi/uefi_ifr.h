// UEFI 2.x Internal Forms Representation (IFR): the opcodes of a form
// package, as far as this project reads or writes them.
//
// Every opcode starts with its number and a byte holding its length (7 bits)
// and a scope bit: an opcode with the scope bit opens a scope that the next
// unmatched END opcode (0x29) closes. Operands are packed and little-endian
// and nothing is aligned; the structs document the layouts and pin them with
// static_assert, and readers take fields byte-wise at these offsets.
//
// The names differ from the Framework IFR's (hiibuild/framework_hii.h):
// EFI_IFR_ here, IFR_ there. Many opcode numbers are shared, their layouts
// are not.
#pragma once

#include "uefi/hii_packages.h"

#pragma pack(push, 1)

struct EFI_IFR_OP_HEADER {
  UINT8 OpCode;
  UINT8 LengthAndScope;  // bits 0..6 the length, bit 7 the scope
};
static_assert(sizeof(EFI_IFR_OP_HEADER) == 2);

inline UINT8 IfrOpLength(const UINT8 *Op) { return Op[1] & 0x7F; }
inline bool IfrOpOpensScope(const UINT8 *Op) { return (Op[1] & 0x80) != 0; }

// Prompt and help of every statement.
struct EFI_IFR_STATEMENT_HEADER {
  EFI_STRING_ID Prompt;
  EFI_STRING_ID Help;
};
static_assert(sizeof(EFI_IFR_STATEMENT_HEADER) == 4);

// Every question: its statement header, its id (what expressions refer
// to), the varstore its value lives in (0: none), its place there (a byte
// offset in a buffer or EFI variable store, a string id naming the value in
// a name/value store) and its flags.
struct EFI_IFR_QUESTION_HEADER {
  EFI_IFR_STATEMENT_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  EFI_VARSTORE_ID VarStoreId;
  UINT16 VarStoreInfo;  // VarOffset or VarName
  UINT8 Flags;
};
static_assert(sizeof(EFI_IFR_QUESTION_HEADER) == 11);
static_assert(offsetof(EFI_IFR_QUESTION_HEADER, QuestionId) == 4);
static_assert(offsetof(EFI_IFR_QUESTION_HEADER, VarStoreId) == 6);
static_assert(offsetof(EFI_IFR_QUESTION_HEADER, VarStoreInfo) == 8);
static_assert(offsetof(EFI_IFR_QUESTION_HEADER, Flags) == 10);

constexpr UINT8 EFI_IFR_FLAG_READ_ONLY = 0x01;
constexpr UINT8 EFI_IFR_FLAG_CALLBACK = 0x04;
constexpr UINT8 EFI_IFR_FLAG_RESET_REQUIRED = 0x10;

// The question header starts right after the opcode header.
constexpr UINT32 EFI_IFR_QUESTION_OFFSET = sizeof(EFI_IFR_OP_HEADER);

struct EFI_IFR_FORM_SET {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
  EFI_STRING_ID FormSetTitle;
  EFI_STRING_ID Help;
  UINT8 Flags;  // bits 0..1: the number of class GUIDs that follow
};
static_assert(sizeof(EFI_IFR_FORM_SET) == 23);

struct EFI_IFR_FORM {
  EFI_IFR_OP_HEADER Header;
  EFI_FORM_ID FormId;
  EFI_STRING_ID FormTitle;
};
static_assert(sizeof(EFI_IFR_FORM) == 6);

// A buffer store: only its owner's Config Access protocol knows its bytes.
// The ASCII name runs from byte 22 to its NUL.
struct EFI_IFR_VARSTORE {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
  EFI_VARSTORE_ID VarStoreId;
  UINT16 Size;
  // UINT8 Name[] follows.
};
static_assert(sizeof(EFI_IFR_VARSTORE) == 22);
static_assert(offsetof(EFI_IFR_VARSTORE, VarStoreId) == 18);
static_assert(offsetof(EFI_IFR_VARSTORE, Size) == 20);

// An EFI variable store: the UEFI variable of that name and GUID. The form
// with Size and the ASCII name (from byte 26) is UEFI 2.3.1's; UEFI 2.1's
// ended after Attributes and named no variable.
struct EFI_IFR_VARSTORE_EFI {
  EFI_IFR_OP_HEADER Header;
  EFI_VARSTORE_ID VarStoreId;
  EFI_GUID Guid;
  UINT32 Attributes;
  UINT16 Size;
  // UINT8 Name[] follows.
};
static_assert(sizeof(EFI_IFR_VARSTORE_EFI) == 26);
static_assert(offsetof(EFI_IFR_VARSTORE_EFI, Guid) == 4);
static_assert(offsetof(EFI_IFR_VARSTORE_EFI, Attributes) == 20);
static_assert(offsetof(EFI_IFR_VARSTORE_EFI, Size) == 24);
constexpr UINT32 EFI_IFR_VARSTORE_EFI_2_1_SIZE = 24;

// A name/value store: each question names its own value by a string id.
struct EFI_IFR_VARSTORE_NAME_VALUE {
  EFI_IFR_OP_HEADER Header;
  EFI_VARSTORE_ID VarStoreId;
  EFI_GUID Guid;
};
static_assert(sizeof(EFI_IFR_VARSTORE_NAME_VALUE) == 20);

struct EFI_IFR_CHECKBOX {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 Flags;
};
static_assert(sizeof(EFI_IFR_CHECKBOX) == 14);

// One-of and numeric: the flags give the value's size (low two bits), then
// minimum, maximum and step, each of that size.
struct EFI_IFR_NUMERIC_HEAD {
  EFI_IFR_OP_HEADER Header;
  EFI_IFR_QUESTION_HEADER Question;
  UINT8 Flags;
  // MinValue, MaxValue, Step follow, each 1, 2, 4 or 8 bytes.
};
static_assert(sizeof(EFI_IFR_NUMERIC_HEAD) == 14);
constexpr UINT8 EFI_IFR_NUMERIC_SIZE = 0x03;
constexpr UINT8 EFI_IFR_NUMERIC_SIZE_1 = 0x00;
constexpr UINT8 EFI_IFR_NUMERIC_SIZE_2 = 0x01;
constexpr UINT8 EFI_IFR_NUMERIC_SIZE_4 = 0x02;
constexpr UINT8 EFI_IFR_NUMERIC_SIZE_8 = 0x03;

// A one-of's option: its text, flags, the value's type and the value.
struct EFI_IFR_ONE_OF_OPTION_HEAD {
  EFI_IFR_OP_HEADER Header;
  EFI_STRING_ID Option;
  UINT8 Flags;
  UINT8 Type;
  // The value follows, as wide as its type.
};
static_assert(sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) == 6);
constexpr UINT8 EFI_IFR_OPTION_DEFAULT = 0x10;
constexpr UINT8 EFI_IFR_OPTION_DEFAULT_MFG = 0x20;

constexpr UINT8 EFI_IFR_TYPE_NUM_SIZE_8 = 0x00;
constexpr UINT8 EFI_IFR_TYPE_NUM_SIZE_16 = 0x01;
constexpr UINT8 EFI_IFR_TYPE_NUM_SIZE_32 = 0x02;
constexpr UINT8 EFI_IFR_TYPE_NUM_SIZE_64 = 0x03;
constexpr UINT8 EFI_IFR_TYPE_BOOLEAN = 0x04;
constexpr UINT8 EFI_IFR_TYPE_TIME = 0x05;
constexpr UINT8 EFI_IFR_TYPE_DATE = 0x06;
constexpr UINT8 EFI_IFR_TYPE_STRING = 0x07;
constexpr UINT8 EFI_IFR_TYPE_OTHER = 0x08;
constexpr UINT8 EFI_IFR_TYPE_UNDEFINED = 0x09;
constexpr UINT8 EFI_IFR_TYPE_ACTION = 0x0A;
constexpr UINT8 EFI_IFR_TYPE_BUFFER = 0x0B;

// A default value of a question (inside the question's scope).
struct EFI_IFR_DEFAULT_HEAD {
  EFI_IFR_OP_HEADER Header;
  EFI_DEFAULT_ID DefaultId;
  UINT8 Type;
  // The value follows.
};
static_assert(sizeof(EFI_IFR_DEFAULT_HEAD) == 5);

// A vendor opcode: the GUID says what follows.
struct EFI_IFR_GUID {
  EFI_IFR_OP_HEADER Header;
  EFI_GUID Guid;
};
static_assert(sizeof(EFI_IFR_GUID) == 18);

// ---- expressions -------------------------------------------------------------------------------

// Question equals a 16-bit constant.
struct EFI_IFR_EQ_ID_VAL {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  UINT16 Value;
};
static_assert(sizeof(EFI_IFR_EQ_ID_VAL) == 6);

// Two questions are equal.
struct EFI_IFR_EQ_ID_ID {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId1;
  EFI_QUESTION_ID QuestionId2;
};
static_assert(sizeof(EFI_IFR_EQ_ID_ID) == 6);

// Question equals one of ListLength 16-bit constants (they follow).
struct EFI_IFR_EQ_ID_VAL_LIST {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
  UINT16 ListLength;
};
static_assert(sizeof(EFI_IFR_EQ_ID_VAL_LIST) == 6);

struct EFI_IFR_QUESTION_REF1 {
  EFI_IFR_OP_HEADER Header;
  EFI_QUESTION_ID QuestionId;
};
static_assert(sizeof(EFI_IFR_QUESTION_REF1) == 4);

#pragma pack(pop)

// Opcode numbers (constants rather than macros: the Framework's share many
// of these numbers under other names).
constexpr UINT8 EFI_IFR_FORM_OP = 0x01;
constexpr UINT8 EFI_IFR_SUBTITLE_OP = 0x02;
constexpr UINT8 EFI_IFR_TEXT_OP = 0x03;
constexpr UINT8 EFI_IFR_IMAGE_OP = 0x04;
constexpr UINT8 EFI_IFR_ONE_OF_OP = 0x05;
constexpr UINT8 EFI_IFR_CHECKBOX_OP = 0x06;
constexpr UINT8 EFI_IFR_NUMERIC_OP = 0x07;
constexpr UINT8 EFI_IFR_PASSWORD_OP = 0x08;
constexpr UINT8 EFI_IFR_ONE_OF_OPTION_OP = 0x09;
constexpr UINT8 EFI_IFR_SUPPRESS_IF_OP = 0x0A;
constexpr UINT8 EFI_IFR_LOCKED_OP = 0x0B;
constexpr UINT8 EFI_IFR_ACTION_OP = 0x0C;
constexpr UINT8 EFI_IFR_RESET_BUTTON_OP = 0x0D;
constexpr UINT8 EFI_IFR_FORM_SET_OP = 0x0E;
constexpr UINT8 EFI_IFR_REF_OP = 0x0F;
constexpr UINT8 EFI_IFR_NO_SUBMIT_IF_OP = 0x10;
constexpr UINT8 EFI_IFR_INCONSISTENT_IF_OP = 0x11;
constexpr UINT8 EFI_IFR_EQ_ID_VAL_OP = 0x12;
constexpr UINT8 EFI_IFR_EQ_ID_ID_OP = 0x13;
constexpr UINT8 EFI_IFR_EQ_ID_VAL_LIST_OP = 0x14;
constexpr UINT8 EFI_IFR_AND_OP = 0x15;
constexpr UINT8 EFI_IFR_OR_OP = 0x16;
constexpr UINT8 EFI_IFR_NOT_OP = 0x17;
constexpr UINT8 EFI_IFR_RULE_OP = 0x18;
constexpr UINT8 EFI_IFR_GRAY_OUT_IF_OP = 0x19;
constexpr UINT8 EFI_IFR_DATE_OP = 0x1A;
constexpr UINT8 EFI_IFR_TIME_OP = 0x1B;
constexpr UINT8 EFI_IFR_STRING_OP = 0x1C;
constexpr UINT8 EFI_IFR_REFRESH_OP = 0x1D;
constexpr UINT8 EFI_IFR_DISABLE_IF_OP = 0x1E;
constexpr UINT8 EFI_IFR_ANIMATION_OP = 0x1F;
constexpr UINT8 EFI_IFR_TO_LOWER_OP = 0x20;
constexpr UINT8 EFI_IFR_TO_UPPER_OP = 0x21;
constexpr UINT8 EFI_IFR_MAP_OP = 0x22;
constexpr UINT8 EFI_IFR_ORDERED_LIST_OP = 0x23;
constexpr UINT8 EFI_IFR_VARSTORE_OP = 0x24;
constexpr UINT8 EFI_IFR_VARSTORE_NAME_VALUE_OP = 0x25;
constexpr UINT8 EFI_IFR_VARSTORE_EFI_OP = 0x26;
constexpr UINT8 EFI_IFR_VARSTORE_DEVICE_OP = 0x27;
constexpr UINT8 EFI_IFR_VERSION_OP = 0x28;
constexpr UINT8 EFI_IFR_END_OP = 0x29;
constexpr UINT8 EFI_IFR_MATCH_OP = 0x2A;
constexpr UINT8 EFI_IFR_GET_OP = 0x2B;
constexpr UINT8 EFI_IFR_SET_OP = 0x2C;
constexpr UINT8 EFI_IFR_READ_OP = 0x2D;
constexpr UINT8 EFI_IFR_WRITE_OP = 0x2E;
constexpr UINT8 EFI_IFR_EQUAL_OP = 0x2F;
constexpr UINT8 EFI_IFR_NOT_EQUAL_OP = 0x30;
constexpr UINT8 EFI_IFR_GREATER_THAN_OP = 0x31;
constexpr UINT8 EFI_IFR_GREATER_EQUAL_OP = 0x32;
constexpr UINT8 EFI_IFR_LESS_THAN_OP = 0x33;
constexpr UINT8 EFI_IFR_LESS_EQUAL_OP = 0x34;
constexpr UINT8 EFI_IFR_BITWISE_AND_OP = 0x35;
constexpr UINT8 EFI_IFR_BITWISE_OR_OP = 0x36;
constexpr UINT8 EFI_IFR_BITWISE_NOT_OP = 0x37;
constexpr UINT8 EFI_IFR_SHIFT_LEFT_OP = 0x38;
constexpr UINT8 EFI_IFR_SHIFT_RIGHT_OP = 0x39;
constexpr UINT8 EFI_IFR_ADD_OP = 0x3A;
constexpr UINT8 EFI_IFR_SUBTRACT_OP = 0x3B;
constexpr UINT8 EFI_IFR_MULTIPLY_OP = 0x3C;
constexpr UINT8 EFI_IFR_DIVIDE_OP = 0x3D;
constexpr UINT8 EFI_IFR_MODULO_OP = 0x3E;
constexpr UINT8 EFI_IFR_RULE_REF_OP = 0x3F;
constexpr UINT8 EFI_IFR_QUESTION_REF1_OP = 0x40;
constexpr UINT8 EFI_IFR_QUESTION_REF2_OP = 0x41;
constexpr UINT8 EFI_IFR_UINT8_OP = 0x42;
constexpr UINT8 EFI_IFR_UINT16_OP = 0x43;
constexpr UINT8 EFI_IFR_UINT32_OP = 0x44;
constexpr UINT8 EFI_IFR_UINT64_OP = 0x45;
constexpr UINT8 EFI_IFR_TRUE_OP = 0x46;
constexpr UINT8 EFI_IFR_FALSE_OP = 0x47;
constexpr UINT8 EFI_IFR_TO_UINT_OP = 0x48;
constexpr UINT8 EFI_IFR_TO_STRING_OP = 0x49;
constexpr UINT8 EFI_IFR_TO_BOOLEAN_OP = 0x4A;
constexpr UINT8 EFI_IFR_MID_OP = 0x4B;
constexpr UINT8 EFI_IFR_FIND_OP = 0x4C;
constexpr UINT8 EFI_IFR_TOKEN_OP = 0x4D;
constexpr UINT8 EFI_IFR_STRING_REF1_OP = 0x4E;
constexpr UINT8 EFI_IFR_STRING_REF2_OP = 0x4F;
constexpr UINT8 EFI_IFR_CONDITIONAL_OP = 0x50;
constexpr UINT8 EFI_IFR_QUESTION_REF3_OP = 0x51;
constexpr UINT8 EFI_IFR_ZERO_OP = 0x52;
constexpr UINT8 EFI_IFR_ONE_OP = 0x53;
constexpr UINT8 EFI_IFR_ONES_OP = 0x54;
constexpr UINT8 EFI_IFR_UNDEFINED_OP = 0x55;
constexpr UINT8 EFI_IFR_LENGTH_OP = 0x56;
constexpr UINT8 EFI_IFR_DUP_OP = 0x57;
constexpr UINT8 EFI_IFR_THIS_OP = 0x58;
constexpr UINT8 EFI_IFR_SPAN_OP = 0x59;
constexpr UINT8 EFI_IFR_VALUE_OP = 0x5A;
constexpr UINT8 EFI_IFR_DEFAULT_OP = 0x5B;
constexpr UINT8 EFI_IFR_DEFAULTSTORE_OP = 0x5C;
constexpr UINT8 EFI_IFR_FORM_MAP_OP = 0x5D;
constexpr UINT8 EFI_IFR_CATENATE_OP = 0x5E;
constexpr UINT8 EFI_IFR_GUID_OP = 0x5F;
constexpr UINT8 EFI_IFR_SECURITY_OP = 0x60;
constexpr UINT8 EFI_IFR_MODAL_TAG_OP = 0x61;
constexpr UINT8 EFI_IFR_REFRESH_ID_OP = 0x62;
constexpr UINT8 EFI_IFR_WARNING_IF_OP = 0x63;
constexpr UINT8 EFI_IFR_MATCH2_OP = 0x64;

// The vendor opcode EDK2 wraps around questions of a bit-field store: inside
// its scope a question's VarOffset counts bits and its flags hold a width in
// bits, a layout a byte-wise reader has no model for.
inline constexpr EFI_GUID gEdkiiIfrBitVarstoreGuid = {
    0x82DDD68B, 0x9163, 0x4187, {0x9B, 0x27, 0x20, 0xA8, 0xFD, 0x60, 0xA7, 0x1D}};

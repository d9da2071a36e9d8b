// The Framework HII database export, as firmware writes it: the protocol
// that serves it, the export header, the data tables, the packs and the IFR
// opcodes. The one description of the format: the driver's parser, the HII
// provider image and the export builder all take their layouts from here.
//
// Everything in the export is packed and little-endian, and nothing in it is
// aligned: a pack may start at an odd address after an IFR pack of odd
// length. The structs below document the layouts and pin them with
// static_assert; readers never dereference them in place but read their
// fields byte-wise at the offsets these structs give, and the builder writes
// them byte-wise the same way.
//
// An opcode struct holds the part of the opcode the driver's parser needs,
// which is where a shorter opcode stops being usable; the IFR_LENGTH_*
// constants give the full length an opcode is encoded with.
#pragma once

#include "runtime/uefi.h"

// ---- the protocol -------------------------------------------------------------

// ExportDatabase(This, Handle, BufferSize, Buffer): Handle 0 exports the
// whole database. With a buffer too small it reports the size needed and
// returns EFI_BUFFER_TOO_SMALL.
typedef EFI_STATUS(EFIAPI *FRAMEWORK_HII_EXPORT_DATABASE)(struct _EFI_HII_PROTOCOL *This, UINT16 Handle,
                                                          UINTN *BufferSize, VOID *Buffer);

// The Framework HII protocol. The driver calls only ExportDatabase, the
// fourth entry; the later entries are listed for the layout only.
struct _EFI_HII_PROTOCOL {
  VOID *NewPack;
  VOID *RemovePack;
  VOID *FindHandles;
  FRAMEWORK_HII_EXPORT_DATABASE ExportDatabase;
  VOID *TestString;
  VOID *GetGlyph;
  VOID *GlyphToBlt;
  VOID *NewString;
  VOID *GetPrimaryLanguages;
  VOID *GetSecondaryLanguages;
  VOID *GetString;
  VOID *ResetStrings;
  VOID *GetLine;
  VOID *GetForms;
  VOID *GetDefaultImage;
  VOID *UpdateForm;
  VOID *GetKeyboardLayout;
};
typedef struct _EFI_HII_PROTOCOL EFI_HII_PROTOCOL;
static_assert(offsetof(EFI_HII_PROTOCOL, ExportDatabase) == 3 * sizeof(VOID *));

// {EA816D2C-CEE5-4F02-99B5-D3905CBBD077}: the Framework HII protocol, and
// the GUID in the classic export header.
inline constexpr EFI_GUID gFrameworkHiiProtocolGuid = {
    0xea816d2c, 0xcee5, 0x4f02, {0x99, 0xb5, 0xd3, 0x90, 0x5c, 0xbb, 0xd0, 0x77}};
// {D7AD636E-B997-459B-BF3F-8846897980E1}: its later revision, published only
// by firmware that has no handle with the classic GUID; the GUID in the
// 20-byte export header.
inline constexpr EFI_GUID gFrameworkHiiLaterProtocolGuid = {
    0xd7ad636e, 0xb997, 0x459b, {0xbf, 0x3f, 0x88, 0x46, 0x89, 0x79, 0x80, 0xe1}};

#pragma pack(push, 1)

// ---- the export header ----------------------------------------------------------

// Classic form: a 16-bit table count, then a GUID; tables start at byte 18.
struct HII_EXPORT_HEADER {
  UINT16 DataTableCount;
  EFI_GUID Revision;
};
static_assert(sizeof(HII_EXPORT_HEADER) == 18);
static_assert(offsetof(HII_EXPORT_HEADER, Revision) == 2);

// Some later firmware counts the tables in 32 bits: the GUID (a copy of the
// later protocol GUID) moves to byte 4 and the tables start at byte 20.
struct HII_EXPORT_HEADER_WIDE {
  UINT32 DataTableCount;
  EFI_GUID Revision;
};
static_assert(sizeof(HII_EXPORT_HEADER_WIDE) == 20);
static_assert(offsetof(HII_EXPORT_HEADER_WIDE, Revision) == 4);

// ---- data tables and packs -------------------------------------------------------

// One form set: its packs follow the header; the offsets count from the
// table's first byte, and 0 means the table has no such pack.
struct HII_DATA_TABLE {
  UINT16 HiiHandle;
  EFI_GUID PackageGuid;
  UINT32 DataTableSize;
  UINT32 IfrDataOffset;
  UINT32 StringDataOffset;
  UINT32 VariableDataOffset;
  UINT32 DevicePathOffset;
  UINT32 NumberOfVariableData;
  UINT32 NumberOfLanguages;
};
static_assert(sizeof(HII_DATA_TABLE) == 46);
static_assert(offsetof(HII_DATA_TABLE, DataTableSize) == 18);
static_assert(offsetof(HII_DATA_TABLE, IfrDataOffset) == 22);
static_assert(offsetof(HII_DATA_TABLE, StringDataOffset) == 26);
static_assert(offsetof(HII_DATA_TABLE, VariableDataOffset) == 30);
static_assert(offsetof(HII_DATA_TABLE, DevicePathOffset) == 34);
static_assert(offsetof(HII_DATA_TABLE, NumberOfVariableData) == 38);
static_assert(offsetof(HII_DATA_TABLE, NumberOfLanguages) == 42);

// Every pack starts with its length (header included) and its type.
struct HII_PACK_HEADER {
  UINT32 Length;
  UINT16 Type;
};
static_assert(sizeof(HII_PACK_HEADER) == 6);

constexpr UINT16 HII_STRING_PACK = 2;
constexpr UINT16 HII_IFR_PACK = 3;
constexpr UINT16 HII_VARIABLE_PACK = 6;

// String pack: the language name and the string pointers hold offsets from
// the pack's first byte; pointer t locates the text of token t. A token
// without text in the pack's language points beyond the pack.
struct HII_STRING_PACK_HEADER {
  HII_PACK_HEADER Header;
  UINT32 LanguageNameString;
  UINT32 PrintableLanguageName;
  UINT32 NumStringPointers;
  UINT32 Attributes;
  // UINT32 StringPointers[] follow.
};
static_assert(sizeof(HII_STRING_PACK_HEADER) == 22);
static_assert(offsetof(HII_STRING_PACK_HEADER, LanguageNameString) == 6);
static_assert(offsetof(HII_STRING_PACK_HEADER, PrintableLanguageName) == 10);
static_assert(offsetof(HII_STRING_PACK_HEADER, NumStringPointers) == 14);
static_assert(offsetof(HII_STRING_PACK_HEADER, Attributes) == 18);

// Variable pack: one varstore and its variable; the NUL-terminated wide name
// follows the fixed part.
struct HII_VARIABLE_PACK_HEADER {
  HII_PACK_HEADER Header;
  EFI_GUID VariableGuid;
  UINT32 VariableNameLength;
  UINT16 VariableId;
  // CHAR16 VariableName[] follows.
};
static_assert(sizeof(HII_VARIABLE_PACK_HEADER) == 28);
static_assert(offsetof(HII_VARIABLE_PACK_HEADER, VariableGuid) == 6);
static_assert(offsetof(HII_VARIABLE_PACK_HEADER, VariableNameLength) == 22);
static_assert(offsetof(HII_VARIABLE_PACK_HEADER, VariableId) == 26);

// ---- IFR opcodes ------------------------------------------------------------------

// Every opcode starts with its number and its total length in bytes.
struct IFR_OP_HEADER {
  UINT8 OpCode;
  UINT8 Length;
};

struct IFR_FORM {
  IFR_OP_HEADER Header;
  UINT16 FormId;
  UINT16 FormTitle;
};
static_assert(sizeof(IFR_FORM) == 6);

// One-of and checkbox share this head; the question id is the byte offset
// of the value within its variable. Help follows at 7.
struct IFR_QUESTION_HEAD {
  IFR_OP_HEADER Header;
  UINT16 QuestionId;
  UINT8 Width;
  UINT16 Prompt;
};
static_assert(sizeof(IFR_QUESTION_HEAD) == 7);

// The numeric opcode up to its step; its default follows at 18.
struct IFR_NUMERIC {
  IFR_OP_HEADER Header;
  UINT16 QuestionId;
  UINT8 Width;
  UINT16 Prompt;
  UINT16 Help;
  UINT8 Flags;
  UINT16 Key;
  UINT16 Minimum;
  UINT16 Maximum;
  UINT16 Step;
};
static_assert(sizeof(IFR_NUMERIC) == 18);
static_assert(offsetof(IFR_NUMERIC, Minimum) == 12);
static_assert(offsetof(IFR_NUMERIC, Maximum) == 14);
static_assert(offsetof(IFR_NUMERIC, Step) == 16);

// An option of a one-of or ordered list; its flags follow at 6, its key at 7.
struct IFR_ONE_OF_OPTION {
  IFR_OP_HEADER Header;
  UINT16 Option;
  UINT16 Value;
};
static_assert(sizeof(IFR_ONE_OF_OPTION) == 6);

// The form set up to its GUID; title, help, callback handle, class,
// subclass and NV data size follow at 18, 20, 22, 30, 32 and 34.
struct IFR_FORM_SET {
  IFR_OP_HEADER Header;
  EFI_GUID Guid;
};
static_assert(sizeof(IFR_FORM_SET) == 18);

// The varstore up to its id; its size follows at 20, its ASCII name at 22.
struct IFR_VARSTORE {
  IFR_OP_HEADER Header;
  EFI_GUID Guid;
  UINT16 VarId;
};
static_assert(sizeof(IFR_VARSTORE) == 20);
static_assert(offsetof(IFR_VARSTORE, VarId) == 18);

// Varstore select (0x25) and the first id of a select pair (0x26).
struct IFR_VARSTORE_SELECT {
  IFR_OP_HEADER Header;
  UINT16 VarId;
};
static_assert(sizeof(IFR_VARSTORE_SELECT) == 4);

// Equal-to-value; equal-to-list has the same head with a count in place of
// the value, and the listed values follow it.
struct IFR_EQ_ID_VAL {
  IFR_OP_HEADER Header;
  UINT16 QuestionId;
  UINT8 Width;
  UINT16 Value;
};
static_assert(sizeof(IFR_EQ_ID_VAL) == 7);
static_assert(offsetof(IFR_EQ_ID_VAL, Value) == 5);

struct IFR_EQ_ID_LIST {
  IFR_OP_HEADER Header;
  UINT16 QuestionId;
  UINT8 Width;
  UINT16 ListLength;
  // UINT16 ValueList[] follows.
};
static_assert(sizeof(IFR_EQ_ID_LIST) == 7);

#pragma pack(pop)

// Opcode numbers of the Framework IFR.
enum : UINT8 {
  IFR_OP_FORM = 0x01,
  IFR_OP_SUBTITLE = 0x02,
  IFR_OP_TEXT = 0x03,
  IFR_OP_ONE_OF = 0x05,
  IFR_OP_CHECKBOX = 0x06,
  IFR_OP_NUMERIC = 0x07,
  IFR_OP_PASSWORD = 0x08,
  IFR_OP_ONE_OF_OPTION = 0x09,
  IFR_OP_SUPPRESS_IF = 0x0A,
  IFR_OP_END_FORM = 0x0B,
  IFR_OP_HIDDEN = 0x0C,
  IFR_OP_END_FORM_SET = 0x0D,
  IFR_OP_FORM_SET = 0x0E,
  IFR_OP_REF = 0x0F,
  IFR_OP_END_ONE_OF = 0x10,
  IFR_OP_INCONSISTENT_IF = 0x11,
  IFR_OP_EQ_ID_VAL = 0x12,
  IFR_OP_EQ_ID_ID = 0x13,
  IFR_OP_EQ_ID_LIST = 0x14,
  IFR_OP_AND = 0x15,
  IFR_OP_OR = 0x16,
  IFR_OP_NOT = 0x17,
  IFR_OP_END_IF = 0x18,
  IFR_OP_GRAYOUT_IF = 0x19,
  IFR_OP_LABEL = 0x1D,
  IFR_OP_ORDERED_LIST = 0x23,
  IFR_OP_VARSTORE = 0x24,
  IFR_OP_VARSTORE_SELECT = 0x25,
  IFR_OP_VARSTORE_SELECT_PAIR = 0x26,
};

// Question and option flags.
enum : UINT8 {
  IFR_FLAG_DEFAULT = 0x01,
  IFR_FLAG_MANUFACTURING = 0x02,
  IFR_FLAG_INTERACTIVE = 0x04,
  IFR_FLAG_NV_ACCESS = 0x08,
  IFR_FLAG_RESET_REQUIRED = 0x10,
  IFR_FLAG_LATE_CHECK = 0x20,
};

// Full encoded lengths of the opcodes.
constexpr UINT8 IFR_LENGTH_FORM = 6;
constexpr UINT8 IFR_LENGTH_SUBTITLE = 4;
constexpr UINT8 IFR_LENGTH_TEXT = 11;
constexpr UINT8 IFR_LENGTH_ONE_OF = 9;
constexpr UINT8 IFR_LENGTH_CHECKBOX = 12;
constexpr UINT8 IFR_LENGTH_NUMERIC = 20;
constexpr UINT8 IFR_LENGTH_PASSWORD = 16;
constexpr UINT8 IFR_LENGTH_ONE_OF_OPTION = 9;
constexpr UINT8 IFR_LENGTH_SUPPRESS_IF = 3;
constexpr UINT8 IFR_LENGTH_GRAYOUT_IF = 3;
constexpr UINT8 IFR_LENGTH_HIDDEN = 6;
constexpr UINT8 IFR_LENGTH_FORM_SET = 36;
constexpr UINT8 IFR_LENGTH_REF = 11;
constexpr UINT8 IFR_LENGTH_INCONSISTENT_IF = 5;
constexpr UINT8 IFR_LENGTH_EQ_ID_VAL = 7;
constexpr UINT8 IFR_LENGTH_EQ_ID_ID = 7;
constexpr UINT8 IFR_LENGTH_EQ_ID_LIST_HEAD = 7;  // plus two bytes per listed value
constexpr UINT8 IFR_LENGTH_LABEL = 4;
constexpr UINT8 IFR_LENGTH_ORDERED_LIST = 9;
constexpr UINT8 IFR_LENGTH_VARSTORE_HEAD = 22;  // plus the ASCII name and its NUL
constexpr UINT8 IFR_LENGTH_VARSTORE_SELECT = 4;
constexpr UINT8 IFR_LENGTH_VARSTORE_SELECT_PAIR = 6;
constexpr UINT8 IFR_LENGTH_BARE = 2;  // end form, end form set, end one-of, and, or, not, end-if
// The longest opcode the one-byte length can describe.
constexpr UINT8 IFR_LENGTH_MAX = 0xFF;

// The parser's structs are prefixes of the opcodes the builder writes.
static_assert(sizeof(IFR_FORM) == IFR_LENGTH_FORM);
static_assert(sizeof(IFR_QUESTION_HEAD) + 2 == IFR_LENGTH_ONE_OF);
static_assert(sizeof(IFR_NUMERIC) + 2 == IFR_LENGTH_NUMERIC);
static_assert(sizeof(IFR_ONE_OF_OPTION) + 3 == IFR_LENGTH_ONE_OF_OPTION);
static_assert(sizeof(IFR_FORM_SET) + 18 == IFR_LENGTH_FORM_SET);
static_assert(sizeof(IFR_VARSTORE) + 2 == IFR_LENGTH_VARSTORE_HEAD);
static_assert(sizeof(IFR_VARSTORE_SELECT) == IFR_LENGTH_VARSTORE_SELECT);
static_assert(sizeof(IFR_EQ_ID_VAL) == IFR_LENGTH_EQ_ID_VAL);
static_assert(sizeof(IFR_EQ_ID_LIST) == IFR_LENGTH_EQ_ID_LIST_HEAD);

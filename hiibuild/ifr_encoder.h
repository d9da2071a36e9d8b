// Framework IFR opcodes, encoded into a ByteBuffer one call each.
//
// Strings are given by token (the caller keeps the string packs), question
// ids are byte offsets into the question's variable, and every operand is
// written little-endian at the offset noted by its call. A call writes its
// whole opcode or nothing: it returns Success, TooLong for an opcode longer
// than the 255 bytes its length byte can say, OutOfMemory, or
// InvalidArgument for a missing list or name.
#pragma once

#include "hiibuild/byte_buffer.h"
#include "hiibuild/framework_hii.h"

namespace hiibuild {

// Allowed values of a numeric question.
struct NumericRange {
  UINT16 Minimum = 0;
  UINT16 Maximum = 0;
  UINT16 Step = 1;
  UINT16 Default = 0;
};

class IfrEncoder {
 public:
  explicit IfrEncoder(ByteBuffer &Out) : Out(Out) {}

  // Form set (0x0E, 36 bytes): GUID at 2, title at 18, help at 20, callback
  // handle (0) at 22, class at 30, subclass at 32, NV data size at 34.
  [[nodiscard]] BuildStatus FormSet(const EFI_GUID &Guid, UINT16 Title, UINT16 Help, UINT16 Class,
                                    UINT16 SubClass, UINT16 NvDataSize);
  [[nodiscard]] BuildStatus EndFormSet();                   // 0x0D
  [[nodiscard]] BuildStatus Form(UINT16 Id, UINT16 Title);  // 0x01: id at 2, title at 4
  [[nodiscard]] BuildStatus EndForm();                      // 0x0B
  [[nodiscard]] BuildStatus Subtitle(UINT16 Title);         // 0x02: title at 2
  // Text (0x03): first text at 2, second at 4, help at 6, flags at 8, key at 9.
  [[nodiscard]] BuildStatus Text(UINT16 First, UINT16 Second, UINT16 Help, UINT8 Flags, UINT16 Key);
  [[nodiscard]] BuildStatus Label(UINT16 Id);  // 0x1D: id at 2
  // Ref (0x0F): form id at 2, prompt at 4, help at 6, flags at 8, key at 9.
  [[nodiscard]] BuildStatus Ref(UINT16 FormId, UINT16 Prompt, UINT16 Help, UINT8 Flags, UINT16 Key);

  // One-of (0x05): question id at 2, width at 4, prompt at 5, help at 7;
  // then its options and EndOneOf.
  [[nodiscard]] BuildStatus OneOf(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help);
  // Option (0x09): text at 2, value at 4, flags at 6, key at 7.
  [[nodiscard]] BuildStatus Option(UINT16 Text, UINT16 Value, UINT8 Flags, UINT16 Key);
  [[nodiscard]] BuildStatus EndOneOf();  // 0x10
  // Checkbox (0x06): as one-of, then flags at 9 and key at 10.
  [[nodiscard]] BuildStatus CheckBox(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 Flags,
                                     UINT16 Key);
  // Numeric (0x07): as checkbox, then minimum at 12, maximum at 14, step at
  // 16, default at 18.
  [[nodiscard]] BuildStatus Numeric(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 Flags,
                                    UINT16 Key, const NumericRange &Range);
  // Password (0x08): as checkbox with flags and key 0, then minimum and
  // maximum size at 12 and 13, encoding (0) at 14.
  [[nodiscard]] BuildStatus Password(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 MinSize,
                                     UINT8 MaxSize);
  // Ordered list (0x23): question id at 2, maximum entries at 4, prompt at
  // 5, help at 7; its options and EndOneOf follow as for a one-of.
  [[nodiscard]] BuildStatus OrderedList(UINT16 QuestionId, UINT8 MaxEntries, UINT16 Prompt, UINT16 Help);

  // Condition scopes (closed by EndIf) and their terms.
  [[nodiscard]] BuildStatus SuppressIf();                        // 0x0A: flags (0) at 2
  [[nodiscard]] BuildStatus GrayOutIf();                         // 0x19: flags (0) at 2
  [[nodiscard]] BuildStatus Hidden(UINT16 Value, UINT16 Key);    // 0x0C: value at 2, key at 4
  [[nodiscard]] BuildStatus InconsistentIf(UINT16 Popup);        // 0x11: popup at 2, flags (0) at 4
  // Equal-to-value (0x12): question id at 2, width at 4, value at 5.
  [[nodiscard]] BuildStatus EqIdVal(UINT16 QuestionId, UINT8 Width, UINT16 Value);
  // Equal-to-question (0x13): question id at 2, width at 4, the other at 5.
  [[nodiscard]] BuildStatus EqIdId(UINT16 QuestionId, UINT8 Width, UINT16 OtherQuestionId);
  // Equal-to-list (0x14): question id at 2, width at 4, count at 5, values
  // from 7; at most 124 values fit.
  [[nodiscard]] BuildStatus EqIdList(UINT16 QuestionId, UINT8 Width, const UINT16 *Values, size_t Count);
  [[nodiscard]] BuildStatus And();    // 0x15
  [[nodiscard]] BuildStatus Or();     // 0x16
  [[nodiscard]] BuildStatus Not();    // 0x17
  [[nodiscard]] BuildStatus EndIf();  // 0x18

  // Varstore (0x24): GUID at 2, id at 18, size at 20, then the variable's
  // 8-bit name and its NUL from 22; names up to 232 characters fit.
  [[nodiscard]] BuildStatus VarStore(const EFI_GUID &Guid, UINT16 Id, UINT16 Size, const char *Name,
                                     size_t NameLength);
  [[nodiscard]] BuildStatus VarStoreSelect(UINT16 Id);                     // 0x25: id at 2
  [[nodiscard]] BuildStatus VarStoreSelectPair(UINT16 Id, UINT16 SecondId);  // 0x26: ids at 2 and 4

  // Bytes copied as they are (opcodes of other kinds, or malformed ones).
  [[nodiscard]] BuildStatus Raw(const UINT8 *Bytes, size_t Count);

 private:
  // Appends one opcode of Length bytes: its number and length byte, then
  // what Operands writes at offset 2.
  template <class Operands>
  [[nodiscard]] BuildStatus Emit(UINT8 OpCode, size_t Length, Operands &&Write);
  [[nodiscard]] BuildStatus Bare(UINT8 OpCode);

  ByteBuffer &Out;
};

}  // namespace hiibuild

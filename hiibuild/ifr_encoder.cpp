// One function per Framework IFR opcode.
#include "hiibuild/ifr_encoder.h"

#include "hiibuild/little_endian.h"

namespace hiibuild {

template <class Operands>
BuildStatus IfrEncoder::Emit(UINT8 OpCode, size_t Length, Operands &&Write) {
  if (Length > IFR_LENGTH_MAX) return BuildStatus::TooLong;
  // The opcode is composed on the stack and appended whole, so a failed
  // call leaves no partial opcode behind.
  UINT8 Op[IFR_LENGTH_MAX];
  ByteCursor Cursor(Op, Op + Length);
  Cursor.U8(OpCode).U8(static_cast<UINT8>(Length));
  Write(Cursor);
  if (Cursor.Overran() || Cursor.Position() != Op + Length) return BuildStatus::InvalidArgument;
  return Out.Append(Op, Length);
}

BuildStatus IfrEncoder::Bare(UINT8 OpCode) {
  return Emit(OpCode, IFR_LENGTH_BARE, [](ByteCursor &) {});
}

BuildStatus IfrEncoder::FormSet(const EFI_GUID &Guid, UINT16 Title, UINT16 Help, UINT16 Class, UINT16 SubClass,
                                UINT16 NvDataSize) {
  return Emit(IFR_OP_FORM_SET, IFR_LENGTH_FORM_SET, [&](ByteCursor &C) {
    C.Guid(Guid).U16(Title).U16(Help).U64(0).U16(Class).U16(SubClass).U16(NvDataSize);
  });
}

BuildStatus IfrEncoder::EndFormSet() { return Bare(IFR_OP_END_FORM_SET); }

BuildStatus IfrEncoder::Form(UINT16 Id, UINT16 Title) {
  return Emit(IFR_OP_FORM, IFR_LENGTH_FORM, [&](ByteCursor &C) { C.U16(Id).U16(Title); });
}

BuildStatus IfrEncoder::EndForm() { return Bare(IFR_OP_END_FORM); }

BuildStatus IfrEncoder::Subtitle(UINT16 Title) {
  return Emit(IFR_OP_SUBTITLE, IFR_LENGTH_SUBTITLE, [&](ByteCursor &C) { C.U16(Title); });
}

BuildStatus IfrEncoder::Text(UINT16 First, UINT16 Second, UINT16 Help, UINT8 Flags, UINT16 Key) {
  return Emit(IFR_OP_TEXT, IFR_LENGTH_TEXT,
              [&](ByteCursor &C) { C.U16(First).U16(Second).U16(Help).U8(Flags).U16(Key); });
}

BuildStatus IfrEncoder::Label(UINT16 Id) {
  return Emit(IFR_OP_LABEL, IFR_LENGTH_LABEL, [&](ByteCursor &C) { C.U16(Id); });
}

BuildStatus IfrEncoder::Ref(UINT16 FormId, UINT16 Prompt, UINT16 Help, UINT8 Flags, UINT16 Key) {
  return Emit(IFR_OP_REF, IFR_LENGTH_REF,
              [&](ByteCursor &C) { C.U16(FormId).U16(Prompt).U16(Help).U8(Flags).U16(Key); });
}

BuildStatus IfrEncoder::OneOf(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help) {
  return Emit(IFR_OP_ONE_OF, IFR_LENGTH_ONE_OF,
              [&](ByteCursor &C) { C.U16(QuestionId).U8(Width).U16(Prompt).U16(Help); });
}

BuildStatus IfrEncoder::Option(UINT16 Text, UINT16 Value, UINT8 Flags, UINT16 Key) {
  return Emit(IFR_OP_ONE_OF_OPTION, IFR_LENGTH_ONE_OF_OPTION,
              [&](ByteCursor &C) { C.U16(Text).U16(Value).U8(Flags).U16(Key); });
}

BuildStatus IfrEncoder::EndOneOf() { return Bare(IFR_OP_END_ONE_OF); }

BuildStatus IfrEncoder::CheckBox(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 Flags,
                                 UINT16 Key) {
  return Emit(IFR_OP_CHECKBOX, IFR_LENGTH_CHECKBOX,
              [&](ByteCursor &C) { C.U16(QuestionId).U8(Width).U16(Prompt).U16(Help).U8(Flags).U16(Key); });
}

BuildStatus IfrEncoder::Numeric(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 Flags,
                                UINT16 Key, const NumericRange &Range) {
  return Emit(IFR_OP_NUMERIC, IFR_LENGTH_NUMERIC, [&](ByteCursor &C) {
    C.U16(QuestionId).U8(Width).U16(Prompt).U16(Help).U8(Flags).U16(Key);
    C.U16(Range.Minimum).U16(Range.Maximum).U16(Range.Step).U16(Range.Default);
  });
}

BuildStatus IfrEncoder::Password(UINT16 QuestionId, UINT8 Width, UINT16 Prompt, UINT16 Help, UINT8 MinSize,
                                 UINT8 MaxSize) {
  return Emit(IFR_OP_PASSWORD, IFR_LENGTH_PASSWORD, [&](ByteCursor &C) {
    C.U16(QuestionId).U8(Width).U16(Prompt).U16(Help).U8(0).U16(0).U8(MinSize).U8(MaxSize).U16(0);
  });
}

BuildStatus IfrEncoder::OrderedList(UINT16 QuestionId, UINT8 MaxEntries, UINT16 Prompt, UINT16 Help) {
  return Emit(IFR_OP_ORDERED_LIST, IFR_LENGTH_ORDERED_LIST,
              [&](ByteCursor &C) { C.U16(QuestionId).U8(MaxEntries).U16(Prompt).U16(Help); });
}

BuildStatus IfrEncoder::SuppressIf() {
  return Emit(IFR_OP_SUPPRESS_IF, IFR_LENGTH_SUPPRESS_IF, [](ByteCursor &C) { C.U8(0); });
}

BuildStatus IfrEncoder::GrayOutIf() {
  return Emit(IFR_OP_GRAYOUT_IF, IFR_LENGTH_GRAYOUT_IF, [](ByteCursor &C) { C.U8(0); });
}

BuildStatus IfrEncoder::Hidden(UINT16 Value, UINT16 Key) {
  return Emit(IFR_OP_HIDDEN, IFR_LENGTH_HIDDEN, [&](ByteCursor &C) { C.U16(Value).U16(Key); });
}

BuildStatus IfrEncoder::InconsistentIf(UINT16 Popup) {
  return Emit(IFR_OP_INCONSISTENT_IF, IFR_LENGTH_INCONSISTENT_IF, [&](ByteCursor &C) { C.U16(Popup).U8(0); });
}

BuildStatus IfrEncoder::EqIdVal(UINT16 QuestionId, UINT8 Width, UINT16 Value) {
  return Emit(IFR_OP_EQ_ID_VAL, IFR_LENGTH_EQ_ID_VAL, [&](ByteCursor &C) { C.U16(QuestionId).U8(Width).U16(Value); });
}

BuildStatus IfrEncoder::EqIdId(UINT16 QuestionId, UINT8 Width, UINT16 OtherQuestionId) {
  return Emit(IFR_OP_EQ_ID_ID, IFR_LENGTH_EQ_ID_ID,
              [&](ByteCursor &C) { C.U16(QuestionId).U8(Width).U16(OtherQuestionId); });
}

BuildStatus IfrEncoder::EqIdList(UINT16 QuestionId, UINT8 Width, const UINT16 *Values, size_t Count) {
  if (Values == nullptr && Count != 0) return BuildStatus::InvalidArgument;
  if (Count > (IFR_LENGTH_MAX - IFR_LENGTH_EQ_ID_LIST_HEAD) / 2) return BuildStatus::TooLong;
  return Emit(IFR_OP_EQ_ID_LIST, IFR_LENGTH_EQ_ID_LIST_HEAD + 2 * Count, [&](ByteCursor &C) {
    C.U16(QuestionId).U8(Width).U16(static_cast<UINT16>(Count));
    for (size_t I = 0; I < Count; ++I) C.U16(Values[I]);
  });
}

BuildStatus IfrEncoder::And() { return Bare(IFR_OP_AND); }
BuildStatus IfrEncoder::Or() { return Bare(IFR_OP_OR); }
BuildStatus IfrEncoder::Not() { return Bare(IFR_OP_NOT); }
BuildStatus IfrEncoder::EndIf() { return Bare(IFR_OP_END_IF); }

BuildStatus IfrEncoder::VarStore(const EFI_GUID &Guid, UINT16 Id, UINT16 Size, const char *Name,
                                 size_t NameLength) {
  if (Name == nullptr && NameLength != 0) return BuildStatus::InvalidArgument;
  if (NameLength >= IFR_LENGTH_MAX - IFR_LENGTH_VARSTORE_HEAD) return BuildStatus::TooLong;
  return Emit(IFR_OP_VARSTORE, IFR_LENGTH_VARSTORE_HEAD + NameLength + 1,
              [&](ByteCursor &C) { C.Guid(Guid).U16(Id).U16(Size).AsciiZ(Name, NameLength); });
}

BuildStatus IfrEncoder::VarStoreSelect(UINT16 Id) {
  return Emit(IFR_OP_VARSTORE_SELECT, IFR_LENGTH_VARSTORE_SELECT, [&](ByteCursor &C) { C.U16(Id); });
}

BuildStatus IfrEncoder::VarStoreSelectPair(UINT16 Id, UINT16 SecondId) {
  return Emit(IFR_OP_VARSTORE_SELECT_PAIR, IFR_LENGTH_VARSTORE_SELECT_PAIR,
              [&](ByteCursor &C) { C.U16(Id).U16(SecondId); });
}

BuildStatus IfrEncoder::Raw(const UINT8 *Bytes, size_t Count) { return Out.Append(Bytes, Count); }

}  // namespace hiibuild

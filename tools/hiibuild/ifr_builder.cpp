// Framework IFR encodings, one function per opcode.
#include "tools/hiibuild/hii_export_builder.h"

#include <stdexcept>

namespace hiibuild {

ByteWriter &IfrBuilder::Begin(uint8_t OpCode, size_t Length) {
  if (Length > 0xFF) throw std::length_error("IFR opcode longer than 255 bytes");
  ++Opcodes;
  return Out.U8(OpCode).U8(static_cast<uint8_t>(Length));
}

IfrBuilder &IfrBuilder::Bare(uint8_t OpCode) {
  Begin(OpCode, ifr_length::BARE);
  return *this;
}

IfrBuilder &IfrBuilder::FormSet(const EFI_GUID &Guid, const Text &Title, const Text &Help,
                                uint16_t Class, uint16_t SubClass, uint16_t NvDataSize) {
  const uint16_t TitleToken = Token(Title);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_FORM_SET, ifr_length::FORM_SET)
      .Guid(Guid)
      .U16(TitleToken)
      .U16(HelpToken)
      .U64(0)  // callback handle
      .U16(Class)
      .U16(SubClass)
      .U16(NvDataSize);
  return *this;
}

IfrBuilder &IfrBuilder::EndFormSet() { return Bare(IFR_END_FORM_SET); }

IfrBuilder &IfrBuilder::Form(uint16_t Id, const Text &Title) {
  const uint16_t TitleToken = Token(Title);
  Begin(IFR_FORM, ifr_length::FORM).U16(Id).U16(TitleToken);
  return *this;
}

IfrBuilder &IfrBuilder::EndForm() { return Bare(IFR_END_FORM); }

IfrBuilder &IfrBuilder::Subtitle(const Text &Title) {
  const uint16_t TitleToken = Token(Title);
  Begin(IFR_SUBTITLE, ifr_length::SUBTITLE).U16(TitleToken);
  return *this;
}

IfrBuilder &IfrBuilder::TextItem(const Text &First, const Text &Second, const Text &Help,
                                 uint8_t Flags, uint16_t Key) {
  const uint16_t FirstToken = Token(First);
  const uint16_t SecondToken = Token(Second);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_TEXT, ifr_length::TEXT).U16(FirstToken).U16(SecondToken).U16(HelpToken).U8(Flags).U16(Key);
  return *this;
}

IfrBuilder &IfrBuilder::Label(uint16_t Id) {
  Begin(IFR_LABEL, ifr_length::LABEL).U16(Id);
  return *this;
}

IfrBuilder &IfrBuilder::Ref(uint16_t FormId, const Text &Prompt, const Text &Help, uint8_t Flags,
                            uint16_t Key) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_REF, ifr_length::REF).U16(FormId).U16(PromptToken).U16(HelpToken).U8(Flags).U16(Key);
  return *this;
}

IfrBuilder &IfrBuilder::OneOf(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_ONE_OF, ifr_length::ONE_OF).U16(Offset).U8(Width).U16(PromptToken).U16(HelpToken);
  return *this;
}

IfrBuilder &IfrBuilder::Option(const Text &Label, uint16_t Value, uint8_t Flags, uint16_t Key) {
  const uint16_t LabelToken = Token(Label);
  Begin(IFR_ONE_OF_OPTION, ifr_length::ONE_OF_OPTION).U16(LabelToken).U16(Value).U8(Flags).U16(Key);
  return *this;
}

IfrBuilder &IfrBuilder::EndOneOf() { return Bare(IFR_END_ONE_OF); }

IfrBuilder &IfrBuilder::OneOfWithOptions(uint16_t Offset, uint8_t Width, const Text &Prompt,
                                         const std::vector<OptionEntry> &Options, uint16_t Default,
                                         const Text &Help) {
  OneOf(Offset, Width, Prompt, Help);
  for (const OptionEntry &O : Options)
    Option(O.Label, O.Value, O.Value == Default ? IFR_FLAG_DEFAULT : 0);
  return EndOneOf();
}

IfrBuilder &IfrBuilder::CheckBox(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help,
                                 uint8_t Flags, uint16_t Key) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_CHECKBOX, ifr_length::CHECKBOX)
      .U16(Offset).U8(Width).U16(PromptToken).U16(HelpToken).U8(Flags).U16(Key);
  return *this;
}

IfrBuilder &IfrBuilder::Numeric(uint16_t Offset, uint8_t Width, const Text &Prompt,
                                const NumericRange &Range, const Text &Help, uint8_t Flags,
                                uint16_t Key) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_NUMERIC, ifr_length::NUMERIC)
      .U16(Offset).U8(Width).U16(PromptToken).U16(HelpToken).U8(Flags).U16(Key)
      .U16(Range.Minimum).U16(Range.Maximum).U16(Range.Step).U16(Range.Default);
  return *this;
}

IfrBuilder &IfrBuilder::Password(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help,
                                 uint8_t MinSize, uint8_t MaxSize) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_PASSWORD, ifr_length::PASSWORD)
      .U16(Offset).U8(Width).U16(PromptToken).U16(HelpToken).U8(0).U16(0)
      .U8(MinSize).U8(MaxSize).U16(0);  // encoding
  return *this;
}

IfrBuilder &IfrBuilder::OrderedList(uint16_t Offset, uint8_t MaxEntries, const Text &Prompt,
                                    const Text &Help) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  Begin(IFR_ORDERED_LIST, ifr_length::ORDERED_LIST)
      .U16(Offset).U8(MaxEntries).U16(PromptToken).U16(HelpToken);
  return *this;
}

IfrBuilder &IfrBuilder::SuppressIf() {
  Begin(IFR_SUPPRESS_IF, ifr_length::SUPPRESS_IF).U8(0);
  return *this;
}

IfrBuilder &IfrBuilder::GrayOutIf() {
  Begin(IFR_GRAYOUT_IF, ifr_length::GRAYOUT_IF).U8(0);
  return *this;
}

IfrBuilder &IfrBuilder::Hidden(uint16_t Value, uint16_t Key) {
  Begin(IFR_HIDDEN, ifr_length::HIDDEN).U16(Value).U16(Key);
  return *this;
}

IfrBuilder &IfrBuilder::InconsistentIf(const Text &Popup) {
  const uint16_t PopupToken = Token(Popup);
  Begin(IFR_INCONSISTENT_IF, ifr_length::INCONSISTENT_IF).U16(PopupToken).U8(0);
  return *this;
}

IfrBuilder &IfrBuilder::EqIdVal(uint16_t Offset, uint8_t Width, uint16_t Value) {
  Begin(IFR_EQ_ID_VAL, ifr_length::EQ_ID_VAL).U16(Offset).U8(Width).U16(Value);
  return *this;
}

IfrBuilder &IfrBuilder::EqIdId(uint16_t Offset, uint8_t Width, uint16_t OtherOffset) {
  Begin(IFR_EQ_ID_ID, ifr_length::EQ_ID_ID).U16(Offset).U8(Width).U16(OtherOffset);
  return *this;
}

IfrBuilder &IfrBuilder::EqIdList(uint16_t Offset, uint8_t Width, const std::vector<uint16_t> &Values) {
  ByteWriter &W = Begin(IFR_EQ_ID_LIST, ifr_length::EQ_ID_LIST_BASE + 2 * Values.size());
  W.U16(Offset).U8(Width).U16(static_cast<uint16_t>(Values.size()));
  for (uint16_t V : Values) W.U16(V);
  return *this;
}

IfrBuilder &IfrBuilder::And() { return Bare(IFR_AND); }
IfrBuilder &IfrBuilder::Or() { return Bare(IFR_OR); }
IfrBuilder &IfrBuilder::Not() { return Bare(IFR_NOT); }
IfrBuilder &IfrBuilder::EndIf() { return Bare(IFR_END_IF); }

IfrBuilder &IfrBuilder::VarStore(const EFI_GUID &Guid, uint16_t Id, uint16_t Size,
                                 const std::string &Name) {
  Begin(IFR_VARSTORE, ifr_length::VARSTORE_BASE + Name.size() + 1).Guid(Guid).U16(Id).U16(Size).AsciiZ(Name);
  return *this;
}

IfrBuilder &IfrBuilder::VarStoreSelect(uint16_t Id) {
  Begin(IFR_VARSTORE_SELECT, ifr_length::VARSTORE_SELECT).U16(Id);
  return *this;
}

IfrBuilder &IfrBuilder::VarStoreSelectPair(uint16_t Id, uint16_t SecondId) {
  Begin(IFR_VARSTORE_SELECT_PAIR, ifr_length::VARSTORE_SELECT_PAIR).U16(Id).U16(SecondId);
  return *this;
}

IfrBuilder &IfrBuilder::Raw(const Bytes &Code) {
  Out.Append(Code);
  return *this;
}

}  // namespace hiibuild

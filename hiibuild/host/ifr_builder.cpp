// The host's IFR calls: texts become tokens (in the order the operands
// name them, so equal inputs give equal string packs), then the core
// encodes the opcode.
#include "hiibuild/host/hii_export_builder.h"
#include "hiibuild/host/host_allocator.h"

namespace hiibuild {

IfrBuilder::IfrBuilder(StringTable &Strings) : Strings(Strings), Out(HostAllocator()), Encoder(Out) {}

IfrBuilder &IfrBuilder::Check(BuildStatus Status, const char *What) {
  ThrowUnlessSuccess(Status, What);
  return *this;
}

Bytes IfrBuilder::Code() const { return Bytes(Out.Data(), Out.Data() + Out.Size()); }

IfrBuilder &IfrBuilder::FormSet(const EFI_GUID &Guid, const Text &Title, const Text &Help,
                                uint16_t Class, uint16_t SubClass, uint16_t NvDataSize) {
  const uint16_t TitleToken = Token(Title);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.FormSet(Guid, TitleToken, HelpToken, Class, SubClass, NvDataSize), "form set");
}

IfrBuilder &IfrBuilder::EndFormSet() { return Check(Encoder.EndFormSet(), "end form set"); }

IfrBuilder &IfrBuilder::Form(uint16_t Id, const Text &Title) {
  const uint16_t TitleToken = Token(Title);
  return Check(Encoder.Form(Id, TitleToken), "form");
}

IfrBuilder &IfrBuilder::EndForm() { return Check(Encoder.EndForm(), "end form"); }

IfrBuilder &IfrBuilder::Subtitle(const Text &Title) {
  const uint16_t TitleToken = Token(Title);
  return Check(Encoder.Subtitle(TitleToken), "subtitle");
}

IfrBuilder &IfrBuilder::TextItem(const Text &First, const Text &Second, const Text &Help,
                                 uint8_t Flags, uint16_t Key) {
  const uint16_t FirstToken = Token(First);
  const uint16_t SecondToken = Token(Second);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.Text(FirstToken, SecondToken, HelpToken, Flags, Key), "text");
}

IfrBuilder &IfrBuilder::Label(uint16_t Id) { return Check(Encoder.Label(Id), "label"); }

IfrBuilder &IfrBuilder::Ref(uint16_t FormId, const Text &Prompt, const Text &Help, uint8_t Flags,
                            uint16_t Key) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.Ref(FormId, PromptToken, HelpToken, Flags, Key), "ref");
}

IfrBuilder &IfrBuilder::OneOf(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.OneOf(Offset, Width, PromptToken, HelpToken), "one-of");
}

IfrBuilder &IfrBuilder::Option(const Text &Label, uint16_t Value, uint8_t Flags, uint16_t Key) {
  const uint16_t LabelToken = Token(Label);
  return Check(Encoder.Option(LabelToken, Value, Flags, Key), "option");
}

IfrBuilder &IfrBuilder::EndOneOf() { return Check(Encoder.EndOneOf(), "end one-of"); }

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
  return Check(Encoder.CheckBox(Offset, Width, PromptToken, HelpToken, Flags, Key), "checkbox");
}

IfrBuilder &IfrBuilder::Numeric(uint16_t Offset, uint8_t Width, const Text &Prompt,
                                const NumericRange &Range, const Text &Help, uint8_t Flags,
                                uint16_t Key) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.Numeric(Offset, Width, PromptToken, HelpToken, Flags, Key, Range), "numeric");
}

IfrBuilder &IfrBuilder::Password(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help,
                                 uint8_t MinSize, uint8_t MaxSize) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.Password(Offset, Width, PromptToken, HelpToken, MinSize, MaxSize), "password");
}

IfrBuilder &IfrBuilder::OrderedList(uint16_t Offset, uint8_t MaxEntries, const Text &Prompt,
                                    const Text &Help) {
  const uint16_t PromptToken = Token(Prompt);
  const uint16_t HelpToken = Token(Help);
  return Check(Encoder.OrderedList(Offset, MaxEntries, PromptToken, HelpToken), "ordered list");
}

IfrBuilder &IfrBuilder::SuppressIf() { return Check(Encoder.SuppressIf(), "suppress-if"); }
IfrBuilder &IfrBuilder::GrayOutIf() { return Check(Encoder.GrayOutIf(), "gray-out-if"); }

IfrBuilder &IfrBuilder::Hidden(uint16_t Value, uint16_t Key) { return Check(Encoder.Hidden(Value, Key), "hidden"); }

IfrBuilder &IfrBuilder::InconsistentIf(const Text &Popup) {
  const uint16_t PopupToken = Token(Popup);
  return Check(Encoder.InconsistentIf(PopupToken), "inconsistent-if");
}

IfrBuilder &IfrBuilder::EqIdVal(uint16_t Offset, uint8_t Width, uint16_t Value) {
  return Check(Encoder.EqIdVal(Offset, Width, Value), "eq-id-val");
}

IfrBuilder &IfrBuilder::EqIdId(uint16_t Offset, uint8_t Width, uint16_t OtherOffset) {
  return Check(Encoder.EqIdId(Offset, Width, OtherOffset), "eq-id-id");
}

IfrBuilder &IfrBuilder::EqIdList(uint16_t Offset, uint8_t Width, const std::vector<uint16_t> &Values) {
  return Check(Encoder.EqIdList(Offset, Width, Values.data(), Values.size()), "eq-id-list");
}

IfrBuilder &IfrBuilder::And() { return Check(Encoder.And(), "and"); }
IfrBuilder &IfrBuilder::Or() { return Check(Encoder.Or(), "or"); }
IfrBuilder &IfrBuilder::Not() { return Check(Encoder.Not(), "not"); }
IfrBuilder &IfrBuilder::EndIf() { return Check(Encoder.EndIf(), "end-if"); }

IfrBuilder &IfrBuilder::VarStore(const EFI_GUID &Guid, uint16_t Id, uint16_t Size, const std::string &Name) {
  return Check(Encoder.VarStore(Guid, Id, Size, Name.data(), Name.size()), "varstore");
}

IfrBuilder &IfrBuilder::VarStoreSelect(uint16_t Id) { return Check(Encoder.VarStoreSelect(Id), "varstore select"); }

IfrBuilder &IfrBuilder::VarStoreSelectPair(uint16_t Id, uint16_t SecondId) {
  return Check(Encoder.VarStoreSelectPair(Id, SecondId), "varstore select pair");
}

IfrBuilder &IfrBuilder::Raw(const Bytes &Code) { return Check(Encoder.Raw(Code.data(), Code.size()), "raw bytes"); }

}  // namespace hiibuild

#include "platform/setup_form_writer.h"

#include <stdexcept>

namespace platform {

using hiibuild::OptionEntry;
using hiibuild::Text;

uint16_t VariableLayout::Reserve(uint8_t Width) {
  if (NextOffset + Width > Image.Size()) throw std::length_error("setup variable is full");
  uint16_t Offset = NextOffset;
  NextOffset = static_cast<uint16_t>(NextOffset + Width);
  return Offset;
}

const std::vector<OptionEntry> &DisabledEnabledOptions() {
  static const std::vector<OptionEntry> Options = {
      {Text(u"Disabled", {{"fra", u"Desactive"}}), 0},
      {Text(u"Enabled", {{"fra", u"Active"}}), 1},
  };
  return Options;
}

void SetupFormWriter::Use(VariableLayout &Variable, bool Select) {
  Current = &Variable;
  if (Select) Ifr.VarStoreSelect(Variable.VarStoreId);
}

void SetupFormWriter::Form(uint16_t Id, const Text &Title) {
  FormId = Id;
  Ifr.Form(Id, Title);
  Platform.Forms.push_back(PlatformForm{Id, Title.Default});
}

QuestionRef SetupFormWriter::Record(uint8_t OpCode, const Text &Prompt, uint8_t Width, uint32_t Default,
                                    std::vector<uint16_t> OptionValues) {
  if (Current == nullptr) throw std::logic_error("no variable chosen for the question");
  uint16_t Offset = Current->Reserve(Width);
  Current->Image.Set(Offset, Width, Default);
  PlatformQuestion Q;
  Q.OpCode = OpCode;
  Q.Prompt = Prompt.Default;
  Q.FormId = FormId;
  Q.VariableName = Current->Name;
  Q.VariableGuid = Current->Guid;
  Q.Offset = Offset;
  Q.Width = Width;
  Q.Default = Default;
  Q.OptionValues = std::move(OptionValues);
  Platform.Questions.push_back(std::move(Q));
  return QuestionRef{Current, Offset, Width};
}

QuestionRef SetupFormWriter::OneOf(const Text &Prompt, const std::vector<OptionEntry> &Options,
                                   uint16_t Default, uint8_t Width, const Text &Help) {
  std::vector<uint16_t> Values;
  bool DefaultListed = false;
  for (const OptionEntry &O : Options) {
    Values.push_back(O.Value);
    DefaultListed = DefaultListed || O.Value == Default;
  }
  if (!DefaultListed) throw std::logic_error("default is not one of the options");
  QuestionRef Ref = Record(IFR_OP_ONE_OF, Prompt, Width, Default, std::move(Values));
  Ifr.OneOfWithOptions(Ref.Offset, Width, Prompt, Options, Default, Help);
  return Ref;
}

QuestionRef SetupFormWriter::EnabledDisabled(const Text &Prompt, bool Enabled, const Text &Help) {
  return OneOf(Prompt, DisabledEnabledOptions(), Enabled ? 1 : 0, 1, Help);
}

QuestionRef SetupFormWriter::CheckBox(const Text &Prompt, bool Checked, const Text &Help) {
  QuestionRef Ref = Record(IFR_OP_CHECKBOX, Prompt, 1, Checked ? 1 : 0);
  Ifr.CheckBox(Ref.Offset, 1, Prompt, Help, Checked ? IFR_FLAG_DEFAULT : 0);
  return Ref;
}

QuestionRef SetupFormWriter::Numeric(const Text &Prompt, uint8_t Width, const hiibuild::NumericRange &Range,
                                     const Text &Help) {
  QuestionRef Ref = Record(IFR_OP_NUMERIC, Prompt, Width, Range.Default);
  Ifr.Numeric(Ref.Offset, Width, Prompt, Range, Help);
  return Ref;
}

QuestionRef SetupFormWriter::StateByte(uint8_t Value) {
  if (Current == nullptr) throw std::logic_error("no variable chosen");
  uint16_t Offset = Current->Reserve(1);
  Current->Image.Set(Offset, 1, Value);
  return QuestionRef{Current, Offset, 1};
}

void SetupFormWriter::EqualTo(const QuestionRef &Tested, uint16_t Value) {
  bool Foreign = Tested.Variable != Current;
  if (Foreign) Ifr.VarStoreSelect(Tested.Variable->VarStoreId);
  Ifr.EqIdVal(Tested.Offset, Tested.Width, Value);
  if (Foreign) Ifr.VarStoreSelect(Current->VarStoreId);
}

void SetupFormWriter::EqualToList(const QuestionRef &Tested, const std::vector<uint16_t> &Values) {
  bool Foreign = Tested.Variable != Current;
  if (Foreign) Ifr.VarStoreSelect(Tested.Variable->VarStoreId);
  Ifr.EqIdList(Tested.Offset, Tested.Width, Values);
  if (Foreign) Ifr.VarStoreSelect(Current->VarStoreId);
}

void SetupFormWriter::SuppressIfEqual(const QuestionRef &Tested, uint16_t Value) {
  Ifr.SuppressIf();
  EqualTo(Tested, Value);
}

void SetupFormWriter::GrayOutIfEqual(const QuestionRef &Tested, uint16_t Value) {
  Ifr.GrayOutIf();
  EqualTo(Tested, Value);
}

}  // namespace platform

// Writes setup questions into a form set while keeping the platform's own
// records straight: each question gets the next free bytes of the variable
// it lives in, its default goes into that variable's image, and the question
// is recorded for tests and tools. Conditions take the questions they test.
#pragma once

#include "hiibuild/host/hii_export_builder.h"
#include "platform/sample_platform.h"

#include <string>
#include <vector>

namespace platform {

// A variable being laid out: its name, GUID, varstore id and contents.
struct VariableLayout {
  std::u16string Name;
  EFI_GUID Guid{};
  uint16_t VarStoreId = 0;
  hiibuild::VariableImage Image;
  uint16_t NextOffset = 0;

  VariableLayout(std::u16string Name, const EFI_GUID &Guid, uint16_t VarStoreId, size_t Size)
      : Name(std::move(Name)), Guid(Guid), VarStoreId(VarStoreId), Image(Size) {}
  // Reserves Width bytes; throws std::length_error when the variable is full.
  uint16_t Reserve(uint8_t Width);
};

// Where a question's value lives, for conditions on it.
struct QuestionRef {
  const VariableLayout *Variable = nullptr;
  uint16_t Offset = 0;
  uint8_t Width = 0;
};

class SetupFormWriter {
 public:
  SetupFormWriter(hiibuild::IfrBuilder &Ifr, SamplePlatform &Platform) : Ifr(Ifr), Platform(Platform) {}

  hiibuild::IfrBuilder &Code() { return Ifr; }

  // New questions go into Variable. With Select, a varstore-select opcode
  // makes the firmware's parser follow.
  void Use(VariableLayout &Variable, bool Select = true);
  void Form(uint16_t Id, const hiibuild::Text &Title);
  void EndForm() { Ifr.EndForm(); }

  QuestionRef OneOf(const hiibuild::Text &Prompt, const std::vector<hiibuild::OptionEntry> &Options,
                    uint16_t Default, uint8_t Width = 1, const hiibuild::Text &Help = {});
  QuestionRef EnabledDisabled(const hiibuild::Text &Prompt, bool Enabled, const hiibuild::Text &Help = {});
  QuestionRef CheckBox(const hiibuild::Text &Prompt, bool Checked, const hiibuild::Text &Help = {});
  QuestionRef Numeric(const hiibuild::Text &Prompt, uint8_t Width, const hiibuild::NumericRange &Range,
                      const hiibuild::Text &Help = {});
  // A byte the forms test but no question shows (firmware-maintained state).
  QuestionRef StateByte(uint8_t Value);

  // Condition scopes around the next question: the comparison is emitted on
  // the question's own variable when it is not the current one.
  void SuppressIfEqual(const QuestionRef &Tested, uint16_t Value);
  void GrayOutIfEqual(const QuestionRef &Tested, uint16_t Value);
  void EndIf() { Ifr.EndIf(); }
  void EqualTo(const QuestionRef &Tested, uint16_t Value);
  void EqualToList(const QuestionRef &Tested, const std::vector<uint16_t> &Values);

 private:
  QuestionRef Record(uint8_t OpCode, const hiibuild::Text &Prompt, uint8_t Width, uint32_t Default,
                     std::vector<uint16_t> OptionValues = {});

  hiibuild::IfrBuilder &Ifr;
  SamplePlatform &Platform;
  VariableLayout *Current = nullptr;
  uint16_t FormId = 0;
};

// The three form sets.
void WriteSetupFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform);
void WriteServerManagementFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform);
void WriteBootFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform);

// Forms of the Setup form set, by area (the writer's current variable is
// "Setup" on entry and on return).
struct SetupVariables {
  VariableLayout &Setup;
  VariableLayout &Memory;
  VariableLayout &Io;
};
void WriteMainAndAdvancedForms(SetupFormWriter &W);
void WriteProcessorAndMemoryForms(SetupFormWriter &W, SetupVariables &V);
void WriteDeviceForms(SetupFormWriter &W, SetupVariables &V);
void WriteSecurityForm(SetupFormWriter &W, SetupVariables &V);

// Common option lists.
const std::vector<hiibuild::OptionEntry> &DisabledEnabledOptions();

}  // namespace platform

// ReadBiosSection: restoring setup values from a [BIOS] block.
//
// The import walks the questions as the export does, derives each one's
// section and key the same way, and asks the parser image for the key.
// Only values that differ from what the question held when the forms were
// read are written, each through its own read-modify-write of the variable.
// Before anything is written, a file that gives both serial ports the same
// address or IRQ is refused: the two UARTs would fight over the resource.
#include "bioscfg_protocol.h"
#include "forms/option_cursor.h"
#include "ini/bios_block.h"
#include "ini/ini_access.h"
#include "ini/ini_parser_bridge.h"
#include "inicontract/import_rules.h"
#include "inicontract/section_path.h"
#include "messages/last_error_text.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/eligibility.h"
#include "settings/question_variable.h"
#include "settings/reload_flags.h"
#include "settings/settings_engine.h"

using inicontract::BuildSectionPath;
using inicontract::BuildSerialSectionPath;
using inicontract::INI_AUX_TEXT_BYTES;
using inicontract::INI_KEY_TEXT_BYTES;
using inicontract::INI_VALUE_MAX;
using inicontract::INI_VALUE_TEXT_BYTES;
using inicontract::KeyOpensSerialSection;
using inicontract::KeyReshapesForms;
using inicontract::NarrowPrompt;
using inicontract::ReadIniNumber;
using inicontract::SECTION_PATH_BYTES;
using inicontract::SerialPortsConflict;
using inicontract::UppercaseAscii;

namespace {

// The UTF-16 copy of a prompt, for the record handed to WriteQuestionValue.
constexpr UINT32 PROMPT_UNITS = 0x10000;

struct ImportRun {
  const char *FileName;
  const SetupQuestion *Form;  // the form record being walked
  char SectionPath[SECTION_PATH_BYTES];
  UINT16 PreviousFormId;
  UINT16 SerialQuestionCount;
  bool ApplyEnabled;
  char KeyText[INI_KEY_TEXT_BYTES];
  char ValueText[INI_VALUE_TEXT_BYTES];
  char AuxText[INI_AUX_TEXT_BYTES];
  CHAR16 *Prompt;  // PROMPT_UNITS
};

// The serial check's reads, through the bridge; the file name is the
// context.
INT32 ReadForSerialCheck(void *FileName, const char *Section, const char *Key, char *Value, UINT32 ValueBytes) {
  char Aux[INI_VALUE_TEXT_BYTES] = {};
  return ReadIniKey(Section, Key, Aux, Value, ValueBytes, INI_VALUE_MAX, static_cast<const char *>(FileName), 0);
}

void EnterForm(ImportRun &Run, const SetupQuestion &Form) {
  char Title[SECTION_PATH_BYTES];
  NarrowPrompt(Form.PromptText, Form.PromptLength, false, Title, sizeof(Title));
  char Section[SECTION_PATH_BYTES] = {};
  BuildSectionPath(Run.SectionPath, Run.PreviousFormId, Title, Form.FormId, Section);
  crt::memcpy(Run.SectionPath, UppercaseAscii(Section), SECTION_PATH_BYTES);
  Run.PreviousFormId = Form.FormId;
  Run.ApplyEnabled = true;
  Run.Form = &Form;
}

// A question whose prompt names a serial port has a section of its own, as
// the export wrote it.
void EnterSerialSection(ImportRun &Run) {
  char Section[SECTION_PATH_BYTES] = {};
  BuildSerialSectionPath(Run.SectionPath, &Run.PreviousFormId, &Run.SerialQuestionCount, Run.KeyText, Section);
  crt::memcpy(Run.SectionPath, UppercaseAscii(Section), SECTION_PATH_BYTES);
}

// The UTF-16 prompt, only for a question that is about to be checked and
// written: the record and the error texts name it.
void CopyPrompt(ImportRun &Run, const SetupQuestion &Question, BIOS_SETTING_VALUE &Record) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Question.PromptText);
  for (UINT32 Unit = 0; Unit < Question.PromptLength; ++Unit) {
    Run.Prompt[Unit] = static_cast<CHAR16>(Bytes[2 * Unit] | (Bytes[2 * Unit + 1] << 8));
  }
  Run.Prompt[Question.PromptLength] = 0;
  Record.Name = Run.Prompt;
  Record.NameLength = Question.PromptLength;
}

[[nodiscard]] EFI_STATUS ImportQuestion(SettingsEngine &Engine, ImportRun &Run, SetupQuestion &Question) {
  NarrowPrompt(Question.PromptText, Question.PromptLength, true, Run.KeyText, sizeof(Run.KeyText));
  if (KeyOpensSerialSection(Run.KeyText)) EnterSerialSection(Run);

  if (ReadIniKey(Run.SectionPath, Run.KeyText, Run.AuxText, Run.ValueText, sizeof(Run.ValueText), INI_VALUE_MAX,
                 Run.FileName, 0) != INI_LOOKUP_FOUND) {
    return EFI_SUCCESS;
  }
  BIOS_SETTING_VALUE Record{};
  const bool Fits = ReadIniNumber(Run.ValueText, Record.Value);
  if ((Fits && Record.Value == Question.Value) || !IsValueQuestion(Question)) return EFI_SUCCESS;
  // Held back until the forms are read again after a reshaping change.
  if (!Run.ApplyEnabled) return EFI_SUCCESS;

  CopyPrompt(Run, Question, Record);
  ChangeStep Step{};
  Step.Question = &Question;
  Step.Form = Run.Form;
  Step.Section = Run.SectionPath;
  Step.Key = Run.KeyText;
  Step.ValueText = Run.ValueText;
  Step.OldValue = Question.Value;
  Step.NewValue = Record.Value;
  Step.TooWide = !Fits;
  // A number that does not fit 32 bits is no option of any question.
  if (!Fits || !QuestionAcceptsValue(Question, Record.Value)) {
    (void)SetLastErrorText(W(u"\nData for BIOS Var %ls is out of range in INI file\n"), Record.Name);
    Step.Kind = StepKind::Refuse;
    ReportStep(Engine, Step);
    return BCFG_INI_E_OUT_OF_RANGE;
  }
  Step.Reshapes = KeyReshapesForms(Run.KeyText) && Record.Value != 0;
  WriteOutcome Outcome;
  const EFI_STATUS Written = WriteQuestionValue(Engine, Question, Record, Outcome);
  ReportWrite(Engine, Step, Written, Outcome);
  if (Written != EFI_SUCCESS) {
    (void)SetLastErrorText(W(u"\nError in setting BIOS Variable %ls through INI file\n"), Record.Name);
    return BCFG_INI_E_SET_FAILED;
  }
  if (Step.Reshapes) {
    gReloadFlags.ReloadRequired = 1;
    if (gReloadFlags.DeferAfterReloadChange == 1) Run.ApplyEnabled = false;
  }
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS ReadBiosSection(SettingsEngine &Engine, const char *IniFileName) {
  if (IniFileName == nullptr) return BCFG_INI_E_NO_FILE_NAME;
  // The one large buffer of the run, had before anything is read or written.
  crt::HeapPtr<CHAR16> Prompt(static_cast<CHAR16 *>(crt::calloc(PROMPT_UNITS + 1, sizeof(CHAR16))));
  if (!Prompt) return BCFG_E_OUT_OF_MEMORY;
  ImportRun R{};
  R.FileName = IniFileName;
  crt::strcpy(R.SectionPath, "BIOS");
  R.ApplyEnabled = true;
  R.Prompt = Prompt.Get();

  const INT32 Probe = ReadIniKey("BIOS", "", R.AuxText, R.ValueText, sizeof(R.ValueText), INI_VALUE_MAX, IniFileName, 0);
  if (Probe == INI_LOOKUP_SECTION_NOT_FOUND) return BCFG_INI_E_BIOS_SECTION;
  // Without the parser every lookup would answer the same: nothing to read.
  if (Probe == INI_BRIDGE_NO_PARSER || Probe == INI_BRIDGE_PATH_TOO_LONG) return EFI_SUCCESS;
  if (CheckSerialPortConflict(IniFileName) != 0) return BCFG_INI_E_SERIAL_CONFLICT;

  for (SetupQuestion *Q = Engine.Forms.Questions; Q != nullptr; Q = Q->Next) {
    if (!InBiosBlock(*Q)) continue;
    R.KeyText[0] = '\0';
    R.ValueText[0] = '\0';
    if (Q->OpCode == IFR_FORM_OP) {
      EnterForm(R, *Q);
      continue;
    }
    const EFI_STATUS Status = ImportQuestion(Engine, R, *Q);
    if (Status != EFI_SUCCESS) return Status;
  }
  return EFI_SUCCESS;
}

INT32 CheckSerialPortConflict(const char *IniFileName) {
  return SerialPortsConflict(ReadForSerialCheck, const_cast<char *>(IniFileName)) ? -1 : 0;
}

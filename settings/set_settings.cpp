// SetSettings: changing questions by prompt, anywhere in the forms.
#include "forms/option_cursor.h"
#include "settings/prompt_match.h"
#include "settings/question_variable.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

namespace {

bool NotApplied(const BIOS_SETTING_VALUE &Value) { return Value.Status != BIOS_SETTING_APPLIED; }

// Checks and writes one record into Question. Earlier records stay written
// whatever happens here.
[[nodiscard]] EFI_STATUS Apply(SettingsEngine &Engine, SetupQuestion &Question, BIOS_SETTING_VALUE &Record,
                               const SetupQuestion *Form) {
  ChangeStep Step{};
  Step.Question = &Question;
  Step.Form = Form;
  Step.Record = &Record;
  Step.OldValue = Question.Value;
  Step.NewValue = Record.Value;
  if (!QuestionAcceptsValue(Question, Record.Value)) {
    Record.Status = BIOS_SETTING_REJECTED;
    Step.Kind = StepKind::Refuse;
    ReportStep(Engine, Step);
    return BCFG_E_OUT_OF_RANGE;
  }
  WriteOutcome Outcome;
  const EFI_STATUS Status = StoreRecord(Engine, Question, Record, Outcome);
  ReportWrite(Engine, Step, Status, Outcome);
  return Status;
}

}  // namespace

EFI_STATUS SetSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values) {
  // The first eligible question of a prompt takes every pending record of
  // that name, in list order, so the last of them decides the stored value.
  return MatchRecordsByPrompt(Engine, Values, SettingsOperation::Set, NotApplied, true,
                              [&Engine](SetupQuestion &Question, BIOS_SETTING_VALUE &Record,
                                        const SetupQuestion *Form) { return Apply(Engine, Question, Record, Form); });
}

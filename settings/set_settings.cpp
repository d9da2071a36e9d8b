// SetSettings: changing questions by prompt, anywhere in the forms.
#include "forms/option_cursor.h"
#include "settings/eligibility.h"
#include "settings/question_variable.h"
#include "settings/record_list.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

namespace {

bool NotApplied(const BIOS_SETTING_VALUE &Value) { return Value.Status != BIOS_SETTING_APPLIED; }

// Checks and writes one record into Question. Earlier records stay written
// whatever happens here.
[[nodiscard]] EFI_STATUS Apply(SettingsEngine &Engine, SetupQuestion &Question, BIOS_SETTING_VALUE &Record) {
  if (!QuestionAcceptsValue(Question, Record.Value)) {
    Record.Status = BIOS_SETTING_REJECTED;
    return BCFG_E_OUT_OF_RANGE;
  }
  return StoreRecord(Engine, Question, Record);
}

}  // namespace

EFI_STATUS SetSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values) {
  UINTN Count = 0;
  if (Values == nullptr || !CountRecords(Values, &Count)) return BCFG_E_INVALID_PARAMETER;
  PendingRecords<BIOS_SETTING_VALUE> Pending;
  EFI_STATUS Status = Pending.Build(Values, Count, NotApplied);
  if (Status != EFI_SUCCESS) return Status;

  // The first eligible question of a prompt takes every pending record of
  // that name, in list order, so the last of them decides the stored value.
  for (SetupQuestion *Question = Engine.Forms.Questions; Question != nullptr; Question = Question->Next) {
    if (!IsValueQuestion(*Question)) continue;
    if (!QuestionEligible(*Question, SettingsOperation::Set, Engine.AllQuestionsMode)) continue;
    const PromptText Prompt = PromptOf(*Question);
    for (BIOS_SETTING_VALUE *Record = Pending.TakeFirst(Prompt); Record != nullptr;
         Record = Pending.TakeFirst(Prompt)) {
      Status = Apply(Engine, *Question, *Record);
      if (Status != EFI_SUCCESS) return Status;
    }
  }
  return EFI_SUCCESS;
}

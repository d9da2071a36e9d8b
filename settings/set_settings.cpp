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
[[nodiscard]] EFI_STATUS Apply(SettingsEngine &Engine, SetupQuestion &Question, BIOS_SETTING_VALUE &Record) {
  if (!QuestionAcceptsValue(Question, Record.Value)) {
    Record.Status = BIOS_SETTING_REJECTED;
    return BCFG_E_OUT_OF_RANGE;
  }
  return StoreRecord(Engine, Question, Record);
}

}  // namespace

EFI_STATUS SetSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values) {
  // The first eligible question of a prompt takes every pending record of
  // that name, in list order, so the last of them decides the stored value.
  return MatchRecordsByPrompt(Engine, Values, SettingsOperation::Set, NotApplied, true,
                              [&Engine](SetupQuestion &Question, BIOS_SETTING_VALUE &Record) {
                                return Apply(Engine, Question, Record);
                              });
}

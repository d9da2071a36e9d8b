// GetSettings and GetFormSettings: reading questions by prompt.
#include "settings/eligibility.h"
#include "settings/option_copy.h"
#include "settings/prompt_match.h"
#include "settings/record_list.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

namespace {

bool NotFound(const BIOS_SETTING_REQUEST &Request) { return Request.Found != 1; }

}  // namespace

EFI_STATUS GetSettings(SettingsEngine &Engine, BIOS_SETTING_REQUEST *Requests) {
  // Questions in form order, each filling the first unfilled record of its
  // prompt: the n-th question of a prompt fills the n-th such record.
  return MatchRecordsByPrompt(Engine, Requests, SettingsOperation::Get, NotFound, false,
                              [](SetupQuestion &Question, BIOS_SETTING_REQUEST &Request, const SetupQuestion *) {
                                return FillRequest(Question, Request);
                              });
}

EFI_STATUS GetFormSettings(SettingsEngine &Engine, BIOS_SETTING_REQUEST *Requests) {
  UINTN Count = 0;
  if (Requests == nullptr || !CountRecords(Requests, &Count)) return BCFG_E_INVALID_PARAMETER;

  // The list is a path: the form's title, then its questions in form order.
  // Every form clears Found again; only records the cursor has reached since
  // the last clearing can hold a 1 of this call, so only they are cleared.
  BIOS_SETTING_REQUEST *Cursor = Requests;
  UINTN CursorIndex = 0;
  UINTN MaybeFound = Count;
  for (SetupQuestion *Question = Engine.Forms.Questions; Question != nullptr; Question = Question->Next) {
    if (Question->OpCode == IFR_FORM_OP) {
      BIOS_SETTING_REQUEST *Record = Requests;
      for (UINTN Index = 0; Index < MaybeFound; ++Index, Record = Record->Next) Record->Found = 0;
      MaybeFound = 0;
      Cursor = Requests;
      CursorIndex = 0;
    } else if (Cursor == Requests) {
      continue;  // no form of the wanted title entered yet
    }
    if (!QuestionEligible(*Question, SettingsOperation::GetForm, 0)) continue;
    const bool Title = Question->OpCode == IFR_FORM_OP;
    if (!Title && !IsValueQuestion(*Question)) continue;
    if (!NameMatchesPrompt(Cursor->Name, PromptOf(*Question))) continue;

    if (Title) {
      Cursor->Found = 1;
    } else {
      const EFI_STATUS Status = FillRequest(*Question, *Cursor);
      if (Status != EFI_SUCCESS) return Status;
    }
    Cursor = Cursor->Next;
    ++CursorIndex;
    if (CursorIndex > MaybeFound) MaybeFound = CursorIndex;
    if (Cursor == nullptr) return EFI_SUCCESS;
  }
  return EFI_SUCCESS;
}

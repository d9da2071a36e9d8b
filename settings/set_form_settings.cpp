// SetFormSettings: changing the questions of one form, in form order.
//
// Two questions reshape their forms when switched on: "Console
// Redirection" adds the terminal settings below it, and DMA remapping
// changes what the I/O forms offer. The questions after such a change may
// no longer be the ones the client meant, so on a freshly loaded driver the
// rest of that form is only marked applied, and the protocol layer reloads
// the forms and runs the list a second time (ReloadRequired).
#include "forms/option_cursor.h"
#include "inicontract/import_rules.h"
#include "messages/last_error_text.h"
#include "settings/eligibility.h"
#include "settings/question_variable.h"
#include "settings/record_list.h"
#include "settings/reload_flags.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

namespace {

// The two reshaping prompts of the INI import, widened for the comparison
// the change operations make (case folded, as for every client name).
template <UINTN N> struct WideName {
  CHAR16 Units[N];
};
template <UINTN N> constexpr WideName<N> Widen(const char (&Text)[N]) {
  WideName<N> Wide{};
  for (UINTN Index = 0; Index < N; ++Index) Wide.Units[Index] = static_cast<UINT8>(Text[Index]);
  return Wide;
}
constexpr auto CONSOLE_REDIRECTION = Widen(inicontract::CONSOLE_REDIRECTION_PROMPT);
constexpr auto REMAPPING = Widen(inicontract::REMAPPING_PROMPT);

bool ReshapesForms(const PromptText &Prompt) {
  return NameMatchesPrompt(CONSOLE_REDIRECTION.Units, Prompt) || NameMatchesPrompt(REMAPPING.Units, Prompt);
}

// The walk's state along the client's list.
struct FormPath {
  BIOS_SETTING_VALUE *Head;
  BIOS_SETTING_VALUE *Cursor;
  UINTN CursorIndex;
  UINTN MaybeSet;  // records from the head that may hold a non-zero Status
  bool ApplyEnabled;
  bool AnyWritten;
  const SetupQuestion *Form;  // the form record being walked

  void Restart() {
    BIOS_SETTING_VALUE *Record = Head;
    for (UINTN Index = 0; Index < MaybeSet; ++Index, Record = Record->Next) Record->Status = BIOS_SETTING_NOT_APPLIED;
    MaybeSet = 0;
    Cursor = Head;
    CursorIndex = 0;
  }
  void Advance() {
    Cursor = Cursor->Next;
    ++CursorIndex;
    if (CursorIndex > MaybeSet) MaybeSet = CursorIndex;
  }
};

// A question of the form whose prompt the cursor's record names.
[[nodiscard]] EFI_STATUS ApplyAtCursor(SettingsEngine &Engine, SetupQuestion &Question, FormPath &Path) {
  BIOS_SETTING_VALUE &Record = *Path.Cursor;
  if (!Path.ApplyEnabled) {
    Record.Status = BIOS_SETTING_APPLIED;  // deferred to the second pass
    Path.Advance();
    return EFI_SUCCESS;
  }
  ChangeStep Step{};
  Step.Question = &Question;
  Step.Form = Path.Form;
  Step.Record = &Record;
  Step.OldValue = Question.Value;
  Step.NewValue = Record.Value;
  if (ReshapesForms(PromptOf(Question)) && Record.Value != 0 && Record.Value != Question.Value) {
    gReloadFlags.ReloadRequired = 1;
    if (gReloadFlags.DeferAfterReloadChange == 1) Path.ApplyEnabled = false;
    Step.Reshapes = true;
  }
  if (!QuestionAcceptsValue(Question, Record.Value)) {
    Record.Status = BIOS_SETTING_NOT_APPLIED;
    (void)SetLastErrorText(W(u"\nData for BIOS Var %ls is out of range\n"), Record.Name);
    Step.Kind = StepKind::Refuse;
    ReportStep(Engine, Step);
    return BCFG_E_OUT_OF_RANGE;
  }
  WriteOutcome Outcome;
  const EFI_STATUS Stored = StoreRecord(Engine, Question, Record, Outcome);
  ReportWrite(Engine, Step, Stored, Outcome);
  if (Stored != EFI_SUCCESS) return Stored;
  Path.Advance();
  Path.AnyWritten = true;
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS SetFormSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values) {
  UINTN Count = 0;
  if (Values == nullptr || !CountRecords(Values, &Count)) return BCFG_E_INVALID_PARAMETER;
  FormPath Path{Values, Values, 0, Count, true, false, nullptr};

  for (SetupQuestion *Question = Engine.Forms.Questions; Question != nullptr; Question = Question->Next) {
    const bool Title = Question->OpCode == IFR_FORM_OP;
    if (Title) {
      Path.Restart();
      Path.Form = Question;
    } else if (Path.Cursor == Path.Head) {
      continue;  // no form of the wanted title entered yet
    }
    if (!QuestionEligible(*Question, SettingsOperation::SetForm, 0)) continue;
    if (!Title && !IsValueQuestion(*Question)) continue;
    const bool Named = NameMatchesPrompt(Path.Cursor->Name, PromptOf(*Question));
    if (Title) {
      if (Named) {
        Path.Cursor->Status = BIOS_SETTING_APPLIED;
        Path.Advance();
      }
      Path.ApplyEnabled = true;
    } else if (Named) {
      const EFI_STATUS Status = ApplyAtCursor(Engine, *Question, Path);
      if (Status != EFI_SUCCESS) return Status;
    }
    if (Path.Cursor == nullptr) return EFI_SUCCESS;
  }
  // The form ended before the list did: tell the client on its title.
  if (Path.AnyWritten) Path.Head->Status = BIOS_SETTING_REJECTED;
  return EFI_SUCCESS;
}

#include "driver/change_journal.h"

#include "messages/last_error_text.h"
#include "runtime/crt.h"

namespace {

void CopyBounded(const char *From, char *To, UINTN Size) {
  if (From == nullptr) {
    To[0] = '\0';
    return;
  }
  UINTN Used = 0;
  for (; Used + 1 < Size && From[Used] != '\0'; ++Used) To[Used] = From[Used];
  To[Used] = '\0';
}

}  // namespace

ChangeJournal::ChangeJournal() : Collector{Collect, this}, Entries(nullptr), Count(0), Capacity(0) {}

ChangeJournal::~ChangeJournal() { crt::free(Entries); }

void ChangeJournal::Collect(void *Self, const ChangeStep &Step) { static_cast<ChangeJournal *>(Self)->Add(Step); }

void ChangeJournal::Add(const ChangeStep &Step) {
  if (Count == Capacity) {
    const UINTN Grown = Capacity == 0 ? 16 : 2 * Capacity;
    auto *Larger = static_cast<Entry *>(crt::realloc(Entries, Grown * sizeof(Entry)));
    // Without memory the step goes unreported; the writes themselves are
    // in the overlay and go out all the same.
    if (Larger == nullptr) return;
    Entries = Larger;
    Capacity = Grown;
  }
  Entry &E = Entries[Count++];
  E.Step = Step;
  // The import's texts are buffers of the run, rewritten for the next
  // question; pointers are fixed up when the step goes out.
  CopyBounded(Step.Section, E.Section, sizeof E.Section);
  CopyBounded(Step.Key, E.Key, sizeof E.Key);
  CopyBounded(Step.ValueText, E.ValueText, sizeof E.ValueText);
}

EFI_STATUS ChangeJournal::Settle(const VariableOverlay &Overlay, EFI_STATUS Flushed, EFI_STATUS StepStatus,
                                 ChangeWork Work, StepSink &Sink) {
  const Entry *FirstUnstored = nullptr;
  for (UINTN Index = 0; Index < Count; ++Index) {
    Entry &E = Entries[Index];
    const SetupQuestion &Question = *E.Step.Question;
    const bool Unstored = E.Step.Kind == StepKind::Change && Flushed != EFI_SUCCESS &&
                          Overlay.HasUnwrittenChange(Question.VariableName, Question.VariableGuid);
    if (Unstored) {
      if (E.Step.Record != nullptr) E.Step.Record->Status = BIOS_SETTING_NOT_APPLIED;
      if (FirstUnstored == nullptr) FirstUnstored = &E;
    }
    if (E.Step.Section != nullptr) E.Step.Section = E.Section;
    if (E.Step.Key != nullptr) E.Step.Key = E.Key;
    if (E.Step.ValueText != nullptr) E.Step.ValueText = E.ValueText;
    Sink.Emit(E.Step, Unstored);
  }
  if (Flushed == EFI_SUCCESS) return StepStatus;

  // The write that failed comes, in question order, before whatever ended
  // the pass, so it is what the run reports.
  const bool Import = Work == ChangeWork::LoadSettingsFromIni;
  if (FirstUnstored != nullptr) {
    const ChangeStep &Step = FirstUnstored->Step;
    if (Step.Record != nullptr) {
      (void)SetLastErrorText(W(u"\nError in setting BIOS Variable %ls\n"), Step.Record->Name);
    } else {
      const SetupQuestion &Q = *Step.Question;
      crt::HeapPtr<CHAR16> Prompt(static_cast<CHAR16 *>(crt::calloc(static_cast<UINTN>(Q.PromptLength) + 1, sizeof(CHAR16))));
      if (Prompt) {
        const auto *Bytes = reinterpret_cast<const UINT8 *>(Q.PromptText);
        for (UINT32 Unit = 0; Unit < Q.PromptLength; ++Unit) {
          Prompt.Get()[Unit] = static_cast<CHAR16>(Bytes[2 * Unit] | (Bytes[2 * Unit + 1] << 8));
        }
        (void)SetLastErrorText(W(u"\nError in setting BIOS Variable %ls through INI file\n"), Prompt.Get());
      }
    }
  }
  return Import ? BCFG_INI_E_SET_FAILED : BCFG_E_VARIABLE_ACCESS;
}

#include "driver/step_sink.h"

#include "forms/option_cursor.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace {

// An aligned, NUL-terminated copy of Length units of a text at any
// alignment; nullptr for no text or no memory (the step goes out without it).
CHAR16 *CopyText(const CHAR16 *Text, UINT32 Length) {
  if (Text == nullptr) return nullptr;
  auto *Copy = static_cast<CHAR16 *>(crt::malloc((static_cast<UINTN>(Length) + 1) * sizeof(CHAR16)));
  if (Copy == nullptr) return nullptr;
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Text);
  for (UINT32 Unit = 0; Unit < Length; ++Unit) Copy[Unit] = static_cast<CHAR16>(Bytes[2 * Unit] | (Bytes[2 * Unit + 1] << 8));
  Copy[Length] = 0;
  return Copy;
}

CHAR16 *PromptCopy(const SetupQuestion *Record) {
  return Record == nullptr ? nullptr : CopyText(Record->PromptText, Record->PromptLength);
}

// The text of the question's option whose value is Value.
CHAR16 *OptionTextCopy(const SetupQuestion &Question, UINT32 Value) {
  OptionCursor Cursor(Question);
  for (OptionView Option{}; Cursor.Next(Option);) {
    if (Option.Value == Value) return CopyText(Option.Text, Option.TextLength);
  }
  return nullptr;
}

UINT32 KindOf(StepKind Kind) {
  switch (Kind) {
    case StepKind::Refuse: return BIOS_CONFIG_STEP_REFUSE;
    case StepKind::Fail: return BIOS_CONFIG_STEP_FAIL;
    default: return BIOS_CONFIG_STEP_CHANGE;
  }
}

CONST CHAR8 *Bytes(const char *Text) { return reinterpret_cast<CONST CHAR8 *>(Text); }

}  // namespace

void StepSink::Emit(const ChangeStep &Step, bool NotStored) {
  if (!Wanted()) return;
  const SetupQuestion &Question = *Step.Question;
  crt::HeapPtr<CHAR16> Prompt(PromptCopy(&Question));
  crt::HeapPtr<CHAR16> FormTitle(PromptCopy(Step.Form));
  crt::HeapPtr<CHAR16> OldText(OptionTextCopy(Question, Step.OldValue));
  crt::HeapPtr<CHAR16> NewText(Step.Kind == StepKind::Change ? OptionTextCopy(Question, Step.StoredValue) : nullptr);

  BIOS_CONFIG_STEP Record{};
  Record.Kind = KindOf(Step.Kind);
  if (Step.Reshapes) Record.Flags |= BIOS_CONFIG_STEP_RESHAPES;
  if (Step.Kind == StepKind::Change && Step.StoredValue != Step.NewValue) Record.Flags |= BIOS_CONFIG_STEP_MASKED;
  if (Step.TooWide) Record.Flags |= BIOS_CONFIG_STEP_TOO_WIDE;
  if (NotStored) Record.Flags |= BIOS_CONFIG_STEP_NOT_STORED;
  Record.Pass = Pass;
  Record.OldValue = Step.OldValue;
  Record.NewValue = Step.NewValue;
  Record.StoredValue = Step.Kind == StepKind::Change ? Step.StoredValue : Step.NewValue;
  Record.Width = Question.Width;
  Record.FormId = Question.FormId;
  Record.Prompt = Prompt.Get();
  Record.FormTitle = FormTitle.Get();
  Record.Section = Bytes(Step.Section);
  Record.Key = Bytes(Step.Key);
  Record.ValueText = Bytes(Step.ValueText);
  Record.OldText = OldText.Get();
  Record.NewText = NewText.Get();
  Client->Step(Client->Context, &Record);
}

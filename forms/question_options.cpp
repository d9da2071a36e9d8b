#include "forms/question_options.h"

#include "forms/option_cursor.h"

QuestionOptions MakeCheckboxOptions(SetupFormDatabase &Db) {
  QuestionOptions Options{};
  const OptionView *Shared = Db.OptionTexts.CheckboxOptions();
  if (Shared == nullptr) return Options;
  Options.Kind = QUESTION_OPTIONS_LIST;
  Options.Count = 2;
  Options.List = Shared;
  return Options;
}

QuestionOptions MakeNumericOptions(SetupFormDatabase &Db, UINT16 Minimum, UINT16 Maximum, UINT16 Step) {
  QuestionOptions Options{};
  if (NumericOptionCount(Minimum, Maximum, Step) == 0) return Options;
  const CHAR16 *Texts = Db.OptionTexts.NumericTexts();
  if (Texts == nullptr) return Options;
  Options.Kind = QUESTION_OPTIONS_RANGE;
  Options.Minimum = Minimum;
  Options.Maximum = Maximum;
  Options.Step = Step;
  Options.NumericTexts = Texts;
  return Options;
}

void AddPendingOption(SetupFormDatabase &Db, const OptionView &Option) { Db.PendingOptions.Add(Option); }

QuestionOptions TakePendingOptions(SetupFormDatabase &Db) {
  QuestionOptions Options{};
  const UINT32 Count = Db.PendingOptions.Incomplete() ? 0 : Db.PendingOptions.Count();
  auto *Block = static_cast<OptionView *>(Db.Records.Allocate(static_cast<UINT64>(Count) * sizeof(OptionView)));
  if (Block != nullptr) {
    for (UINT32 Index = 0; Index < Count; ++Index) Block[Index] = Db.PendingOptions.At(Count - 1 - Index);
    Options.Kind = QUESTION_OPTIONS_LIST;
    Options.Count = Count;
    Options.List = Block;
  }
  Db.PendingOptions.Clear();
  return Options;
}

// The question list as the driver holds it, record by record. Prompts and
// option texts point into the packed HII export (unaligned, with lengths
// instead of terminators), so each record goes out with aligned,
// NUL-terminated copies in buffers reused from record to record: a list of
// any size costs the client no buffer and the driver a few growing blocks.
#include "driver/question_enumeration.h"

#include "driver/session.h"
#include "forms/option_cursor.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/settings_engine.h"

namespace {

// A block reused for every record, grown when a record needs more.
template <class T> class Scratch {
 public:
  ~Scratch() { crt::free(Block); }
  [[nodiscard]] T *Get(UINTN Count) {
    if (Count > Capacity) {
      crt::free(Block);
      Capacity = 0;
      Block = static_cast<T *>(crt::malloc((Count == 0 ? 1 : Count) * sizeof(T)));
      if (Block == nullptr) return nullptr;
      Capacity = Count;
    }
    return Block;
  }

 private:
  T *Block = nullptr;
  UINTN Capacity = 0;
};

UINTN NameUnits(const CHAR16 *Name) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Name);
  UINTN Units = 0;
  while (Bytes[2 * Units] != 0 || Bytes[2 * Units + 1] != 0) ++Units;
  return Units;
}

// Length units of Text (any alignment) into Out, NUL-terminated.
void CopyUnits(const CHAR16 *Text, UINTN Length, CHAR16 *Out) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Text);
  for (UINTN Unit = 0; Unit < Length; ++Unit) Out[Unit] = static_cast<CHAR16>(Bytes[2 * Unit] | (Bytes[2 * Unit + 1] << 8));
  Out[Length] = 0;
}

struct RecordTexts {
  Scratch<CHAR16> Prompt;
  Scratch<CHAR16> Variable;
  Scratch<CHAR16> OptionText;
  Scratch<BIOS_CONFIG_OPTION> Options;
};

// Fills Out from Question; false when a copy cannot be had.
[[nodiscard]] bool Describe(const SetupFormDatabase &Forms, const SetupQuestion &Question, UINT16 FormId,
                            RecordTexts &Texts, BIOS_CONFIG_QUESTION &Out) {
  Out.OpCode = Question.OpCode;
  Out.FormId = FormId;
  Out.Flags = Question.Flags;
  Out.ParentFormId = Question.OpCode == IFR_FORM_OP ? Forms.ParentFormOf(FormId) : 0;
  Out.Width = Question.Width;
  Out.Offset = Question.Offset;
  Out.Value = Question.Value;
  Out.VariableSize = Question.VariableSize;
  Out.VariableAttributes = Question.VariableAttributes;
  if (Question.PromptText != nullptr) {
    CHAR16 *Prompt = Texts.Prompt.Get(static_cast<UINTN>(Question.PromptLength) + 1);
    if (Prompt == nullptr) return false;
    CopyUnits(Question.PromptText, Question.PromptLength, Prompt);
    Out.Prompt = Prompt;
  }
  if (Question.OpCode == IFR_FORM_OP) return true;
  if (Question.VariableGuid != nullptr) crt::memcpy(&Out.VariableGuid, Question.VariableGuid, sizeof(EFI_GUID));
  if (Question.VariableName != nullptr) {
    const UINTN Units = NameUnits(Question.VariableName);
    CHAR16 *Name = Texts.Variable.Get(Units + 1);
    if (Name == nullptr) return false;
    CopyUnits(Question.VariableName, Units, Name);
    Out.VariableName = Name;
  }
  const QuestionOptions &Options = Question.Options;
  if (Options.Kind == QUESTION_OPTIONS_RANGE) {
    Out.OptionKind = BIOS_CONFIG_OPTIONS_RANGE;
    Out.Minimum = Options.Minimum;
    Out.Maximum = Options.Maximum;
    Out.Step = Options.Step;
    Out.OptionCount = NumericOptionCount(Options.Minimum, Options.Maximum, Options.Step);
    return true;
  }
  if (Options.Kind != QUESTION_OPTIONS_LIST || Options.Count == 0) return true;
  // One block for every option's text, each NUL-terminated.
  UINTN Units = 0;
  OptionCursor Measure(Question);
  for (OptionView Option{}; Measure.Next(Option);) Units += static_cast<UINTN>(Option.TextLength) + 1;
  CHAR16 *Text = Texts.OptionText.Get(Units);
  BIOS_CONFIG_OPTION *List = Texts.Options.Get(Options.Count);
  if (Text == nullptr || List == nullptr) return false;
  UINT32 Count = 0;
  OptionCursor Cursor(Question);
  for (OptionView Option{}; Cursor.Next(Option) && Count < Options.Count; ++Count) {
    List[Count] = BIOS_CONFIG_OPTION{Option.Value, 0, nullptr};
    if (Option.Text == nullptr) continue;
    CopyUnits(Option.Text, Option.TextLength, Text);
    List[Count].Text = Text;
    Text += Option.TextLength + 1;
  }
  Out.OptionKind = BIOS_CONFIG_OPTIONS_LIST;
  Out.OptionCount = Count;
  Out.Options = List;
  return true;
}

}  // namespace

EFI_STATUS EFIAPI EnumerateQuestions(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, UINT32 First,
                                     BIOS_CONFIG_QUESTION_CALLBACK Visit, VOID *Context) {
  SettingsEngine *Session = nullptr;
  const EFI_STATUS Status = SessionFormsForVisitor(Visit != nullptr, &Session);
  if (Status != EFI_SUCCESS) return Status;
  SettingsEngine &Engine = *Session;

  RecordTexts Texts;
  UINT16 FormId = 0;
  UINT32 Index = 0;
  for (const SetupQuestion *Q = Engine.Forms.Questions; Q != nullptr; Q = Q->Next, ++Index) {
    if (Q->OpCode == IFR_FORM_OP) FormId = Q->FormId;
    if (Index < First) continue;
    BIOS_CONFIG_QUESTION Record{};
    Record.Index = Index;
    if (!Describe(Engine.Forms, *Q, FormId, Texts, Record)) return BCFG_E_OUT_OF_MEMORY;
    if (!Visit(Context, &Record)) break;
  }
  return EFI_SUCCESS;
}

// Checkbox and numeric option lists. Their texts come from the database's
// arena below 4 GiB, the nodes from the heap.
#include "forms/option_texts.h"

#include "runtime/crt.h"

namespace {

constexpr UINT32 NUMERIC_TEXT_UNITS = 4;

[[nodiscard]] SetupOption *NewOption(CHAR16 *Text, UINT32 Length, UINT32 Value) {
  auto *Option = static_cast<SetupOption *>(crt::calloc(1, sizeof(SetupOption)));
  if (Option == nullptr) return nullptr;
  Option->Text = Text;
  Option->TextLength = Length;
  Option->Value = Value;
  return Option;
}

[[nodiscard]] SetupOption *MakeNamedOption(SetupFormDatabase &Db, const char *Text, UINT32 Value) {
  UINT32 Length = static_cast<UINT32>(crt::strlen(Text));
  CHAR16 *Copy = Db.OptionTexts.CopyNarrow(Text, Length);
  if (Copy == nullptr) return nullptr;
  return NewOption(Copy, Length, Value);
}

}  // namespace

SetupOption *MakeCheckboxOptions(SetupFormDatabase &Db) {
  SetupOption *Enabled = MakeNamedOption(Db, "Enabled", 1);
  SetupOption *Disabled = MakeNamedOption(Db, "Disabled", 0);
  if (Enabled == nullptr) return Disabled;
  Enabled->Next = Disabled;
  return Enabled;
}

SetupOption *MakeNumericOptions(SetupFormDatabase &Db, UINT16 Minimum, UINT16 Maximum, UINT16 Step) {
  SetupOption *Head = nullptr;
  if (Step == 0) return Head;
  // 32 bits: adding a 16-bit step to a 16-bit value cannot wrap around.
  for (UINT32 Value = Minimum; Value <= Maximum; Value += Step) {
    char Digits[10];
    (void)crt::snprintf(Digits, sizeof(Digits), "%04d", static_cast<int>(Value));
    // Five-digit values keep only their first four digits; Value keeps all.
    CHAR16 *Text = Db.OptionTexts.CopyNarrow(Digits, NUMERIC_TEXT_UNITS);
    if (Text == nullptr) break;
    SetupOption *Option = NewOption(Text, NUMERIC_TEXT_UNITS, Value);
    if (Option == nullptr) break;
    Option->Next = Head;
    Head = Option;
  }
  return Head;
}

#include "forms/shared_option_texts.h"

#include "forms/numeric_texts.h"
#include "runtime/crt.h"

namespace {

constexpr UINT32 CHECKBOX_OPTIONS = 2;
// The two options, then "Enabled" and "Disabled" with their NULs.
constexpr UINT64 CHECKBOX_RUN_BYTES = CHECKBOX_OPTIONS * sizeof(OptionView) + (8 + 9) * sizeof(CHAR16);

// Widens Text with its NUL to At; returns the units written before the NUL.
UINT32 Widen(const char *Text, CHAR16 *At) {
  UINT32 Units = 0;
  for (; Text[Units] != 0; ++Units) At[Units] = static_cast<UINT8>(Text[Units]);
  At[Units] = 0;
  return Units;
}

}  // namespace

const OptionView *SharedOptionTexts::CheckboxOptions() {
  if (Checkbox != nullptr) return Checkbox;
  auto *Run = static_cast<OptionView *>(crt::AllocateBelow4G(CHECKBOX_RUN_BYTES));
  if (Run == nullptr) return nullptr;
  auto *Texts = reinterpret_cast<CHAR16 *>(Run + CHECKBOX_OPTIONS);
  CHAR16 *Disabled = Texts + 8;
  Run[0] = OptionView{Texts, Widen("Enabled", Texts), 1};
  Run[1] = OptionView{Disabled, Widen("Disabled", Disabled), 0};
  Checkbox = Run;
  return Checkbox;
}

const CHAR16 *SharedOptionTexts::NumericTexts() {
  if (Numeric != nullptr) return Numeric;
  auto *Table = static_cast<CHAR16 *>(crt::AllocateBelow4G(NUMERIC_TEXT_TABLE_BYTES));
  if (Table == nullptr) return nullptr;
  FillNumericTexts(Table);
  Numeric = Table;
  return Numeric;
}

void SharedOptionTexts::Release() {
  crt::FreeBelow4G(Checkbox);
  Checkbox = nullptr;
  crt::FreeBelow4G(Numeric);
  Numeric = nullptr;
}

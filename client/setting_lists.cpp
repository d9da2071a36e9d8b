#include "client/setting_lists.h"

#include "runtime/crt.h"

namespace {

UINTN Length(const CHAR16 *Text) {
  UINTN Units = 0;
  while (Text[Units] != 0) ++Units;
  return Units;
}

// The position of the last '=' in Text, or Length(Text) when there is none.
UINTN LastEquals(const CHAR16 *Text) {
  const UINTN Units = Length(Text);
  for (UINTN Index = Units; Index > 0; --Index) {
    if (Text[Index - 1] == '=') return Index - 1;
  }
  return Units;
}

int DigitValue(CHAR16 Unit, UINT32 Base) {
  int Value = -1;
  if (Unit >= '0' && Unit <= '9') Value = Unit - '0';
  if (Base == 16 && Unit >= 'a' && Unit <= 'f') Value = Unit - 'a' + 10;
  if (Base == 16 && Unit >= 'A' && Unit <= 'F') Value = Unit - 'A' + 10;
  return Value;
}

}  // namespace

NumberText ParseNumber(const CHAR16 *Text, UINT32 *Value) {
  UINT32 Base = 10;
  if (Text[0] == '0' && (Text[1] == 'x' || Text[1] == 'X')) {
    Base = 16;
    Text += 2;
  }
  if (Text[0] == 0) return NumberText::NotANumber;
  UINT64 Number = 0;
  bool TooWide = false;
  for (; *Text != 0; ++Text) {
    const int Digit = DigitValue(*Text, Base);
    if (Digit < 0) return NumberText::NotANumber;
    if (!TooWide) Number = Number * Base + static_cast<UINT64>(Digit);
    TooWide = TooWide || Number > 0xFFFFFFFFull;
  }
  if (TooWide) return NumberText::TooWide;
  *Value = static_cast<UINT32>(Number);
  return NumberText::Number;
}

bool RequestRecords::Build(CHAR16 *const *Names, UINTN Count) {
  Records.Reset(static_cast<BIOS_SETTING_REQUEST *>(crt::calloc(Count == 0 ? 1 : Count, sizeof(BIOS_SETTING_REQUEST))));
  if (!Records) return false;
  Total = Count;
  for (UINTN Index = 0; Index < Count; ++Index) {
    BIOS_SETTING_REQUEST &R = Records.Get()[Index];
    R.Name = Names[Index];
    R.NameLength = static_cast<UINT32>(Length(Names[Index]));
    R.Next = Index + 1 < Count ? &Records.Get()[Index + 1] : nullptr;
  }
  return true;
}

ValueRecords::BuildResult ValueRecords::Build(CHAR16 *const *Texts, UINTN Count, bool FirstIsTitle) {
  UINTN Units = 0;
  for (UINTN Index = 0; Index < Count; ++Index) Units += Length(Texts[Index]) + 1;
  Records.Reset(static_cast<BIOS_SETTING_VALUE *>(crt::calloc(Count == 0 ? 1 : Count, sizeof(BIOS_SETTING_VALUE))));
  Operands.Reset(static_cast<ValueOperand *>(crt::calloc(Count == 0 ? 1 : Count, sizeof(ValueOperand))));
  NameTable.Reset(static_cast<CHAR16 **>(crt::calloc(Count == 0 ? 1 : Count, sizeof(CHAR16 *))));
  NameText.Reset(static_cast<CHAR16 *>(crt::calloc(Units + 1, sizeof(CHAR16))));
  if (!Records || !Operands || !NameTable || !NameText) return BuildResult::OutOfMemory;

  CHAR16 *Copy = NameText.Get();
  for (UINTN Index = 0; Index < Count; ++Index) {
    const CHAR16 *Text = Texts[Index];
    const bool Title = FirstIsTitle && Index == 0;
    const UINTN Split = Title ? Length(Text) : LastEquals(Text);
    if (!Title && Text[Split] != '=') {
      BadOperand = Text;
      return BuildResult::NoEquals;
    }
    for (UINTN Unit = 0; Unit < Split; ++Unit) Copy[Unit] = Text[Unit];
    Copy[Split] = 0;
    NameTable.Get()[Index] = Copy;

    BIOS_SETTING_VALUE &R = Records.Get()[Index];
    R.Name = Copy;
    R.NameLength = static_cast<UINT32>(Split);
    R.Next = Index + 1 < Count ? &Records.Get()[Index + 1] : nullptr;
    ValueOperand &Operand = Operands.Get()[Index];
    Operand.ValueText = Title ? nullptr : Text + Split + 1;
    const NumberText Parsed = Title ? NumberText::Number : ParseNumber(Operand.ValueText, &R.Value);
    Operand.Numeric = Parsed == NumberText::Number;
    Operand.TooWide = Parsed == NumberText::TooWide;
    Copy += Split + 1;
  }
  Total = Count;
  return BuildResult::Built;
}

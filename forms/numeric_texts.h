// The texts of numeric options: a value's decimal digits, "%04d", of which
// only the first four are shown. Values below 10000 keep all their digits
// with leading zeros (7 is "0007"); five-digit values lose their last digit
// (10000 is "1000", 65535 is "6553"). So there are exactly 10,000 distinct
// texts, and a database keeps them once, in one table: text n, NUL-
// terminated, at n * NUMERIC_TEXT_STRIDE units from the table's start.
#pragma once

#include "runtime/uefi.h"

constexpr UINT32 NUMERIC_TEXT_UNITS = 4;
constexpr UINT32 NUMERIC_TEXT_STRIDE = NUMERIC_TEXT_UNITS + 1;
constexpr UINT32 NUMERIC_TEXT_COUNT = 10000;
constexpr UINT32 NUMERIC_TEXT_TABLE_BYTES = NUMERIC_TEXT_COUNT * NUMERIC_TEXT_STRIDE * sizeof(CHAR16);

// The text of Value (at most 65535) in Table.
inline const CHAR16 *NumericText(const CHAR16 *Table, UINT32 Value) {
  const UINT32 Shown = Value < NUMERIC_TEXT_COUNT ? Value : Value / 10;
  return Table + Shown * NUMERIC_TEXT_STRIDE;
}

// Writes the 10,000 texts into Table (NUMERIC_TEXT_TABLE_BYTES).
inline void FillNumericTexts(CHAR16 *Table) {
  for (UINT32 Value = 0; Value < NUMERIC_TEXT_COUNT; ++Value) {
    CHAR16 *Text = Table + Value * NUMERIC_TEXT_STRIDE;
    UINT32 Rest = Value;
    for (UINT32 Digit = NUMERIC_TEXT_UNITS; Digit > 0; --Digit) {
      Text[Digit - 1] = static_cast<CHAR16>('0' + Rest % 10);
      Rest /= 10;
    }
    Text[NUMERIC_TEXT_UNITS] = 0;
  }
}

// The option texts the database makes itself, each made once per loaded
// database and shared by every question that shows it: the checkbox options
// "Enabled" and "Disabled", and the table of the 10,000 numeric texts
// (forms/numeric_texts.h), made only when a numeric question first needs it.
//
// A client reads option texts through a 32-bit address, so they live in
// page runs below 4 GiB. Owning the runs also tells DiscardForms which texts
// the database made: it frees these and leaves alone the texts that point
// into the export buffer.
#pragma once

#include "forms/setup_question.h"

class SharedOptionTexts {
 public:
  constexpr SharedOptionTexts() : Checkbox(nullptr), Numeric(nullptr) {}
  ~SharedOptionTexts() { Release(); }
  SharedOptionTexts(const SharedOptionTexts &) = delete;
  SharedOptionTexts &operator=(const SharedOptionTexts &) = delete;

  // "Enabled" (1) then "Disabled" (0), made on first use; nullptr when no
  // memory is left.
  [[nodiscard]] const OptionView *CheckboxOptions();
  // The table of numeric texts, made on first use; nullptr when no memory
  // is left.
  [[nodiscard]] const CHAR16 *NumericTexts();
  // Returns both runs; every text handed out becomes invalid.
  void Release();

 private:
  OptionView *Checkbox;  // the two options, their texts after them
  CHAR16 *Numeric;
};

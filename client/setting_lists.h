// The client's request lists, built from the tool's operands.
//
// The protocol takes linked lists of records that the client owns; the tool
// allocates each list in one block and links it in operand order. Names
// point into the tool's own copies, so the records stay valid for as long
// as the list does.
#pragma once

#include "bioscfg_protocol.h"
#include "runtime/owned.h"

class RequestRecords {
 public:
  // One BIOS_SETTING_REQUEST per name, linked in order. False when out of
  // memory.
  [[nodiscard]] bool Build(CHAR16 *const *Names, UINTN Count);
  BIOS_SETTING_REQUEST *Head() { return Total == 0 ? nullptr : Records.Get(); }
  BIOS_SETTING_REQUEST &At(UINTN Index) { return Records.Get()[Index]; }
  UINTN Count() const { return Total; }

 private:
  crt::HeapPtr<BIOS_SETTING_REQUEST> Records;
  UINTN Total = 0;
};

// One "PROMPT=VALUE" operand: the prompt is the text before the last '='
// (prompts may contain '='), the value decimal, 0x-hexadecimal, or the text
// of one of the question's options.
struct ValueOperand {
  const CHAR16 *ValueText;  // nullptr for a form title
  bool Numeric;
  bool TooWide;  // digits of a number that does not fit 32 bits
};

class ValueRecords {
 public:
  enum class BuildResult { Built, NoEquals, OutOfMemory };

  // One BIOS_SETTING_VALUE per operand; with FirstIsTitle the first operand
  // is a form title (no '=', value 0). Numeric values are parsed here;
  // textual ones wait for ResolveOption.
  [[nodiscard]] BuildResult Build(CHAR16 *const *Operands, UINTN Count, bool FirstIsTitle);
  BIOS_SETTING_VALUE *Head() { return Total == 0 ? nullptr : Records.Get(); }
  BIOS_SETTING_VALUE &At(UINTN Index) { return Records.Get()[Index]; }
  const ValueOperand &Operand(UINTN Index) const { return Operands.Get()[Index]; }
  UINTN Count() const { return Total; }
  // The names of the records, for a request list over the same questions.
  CHAR16 *const *Names() const { return NameTable.Get(); }
  // The operand that Build could not split (for the message).
  const CHAR16 *Offending() const { return BadOperand; }

 private:
  crt::HeapPtr<BIOS_SETTING_VALUE> Records;
  crt::HeapPtr<ValueOperand> Operands;
  crt::HeapPtr<CHAR16 *> NameTable;
  crt::HeapPtr<CHAR16> NameText;
  UINTN Total = 0;
  const CHAR16 *BadOperand = nullptr;
};

enum class NumberText { Number, TooWide, NotANumber };
// Decimal or 0x-hexadecimal, the whole text: a Number of at most 32 bits,
// TooWide when its digits make more (never wrapped), else NotANumber.
[[nodiscard]] NumberText ParseNumber(const CHAR16 *Text, UINT32 *Value);

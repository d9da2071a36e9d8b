// The variable context: which UEFI variable a question or condition term
// reads, chosen by the data table's variable packs and the IFR's varstore
// opcodes, and the reads of values out of it.
#pragma once

#include "forms/setup_form_database.h"

// Records the table's variable packs in VariablePacks (at most the first
// 32; further packs are not looked at) and makes the last recorded one the
// current variable name. Each pack's length is only the step to the next:
// 0 stays on the same pack, and a length past the export ends the walk. A
// pack of type 6 is recorded when its GUID, id and NUL-terminated name lie
// inside the export. False when the first pack is of another type or its
// header lies outside the export: the table is then passed over.
[[nodiscard]] bool CollectVariablePacks(SetupFormDatabase &Db, const UINT8 *Table);

// Makes the recorded pack with varstore id Id the current variable. Id 0
// adopts the id of the first recorded pack (and, while that id is 0, of the
// next). The last matching pack wins; no match leaves the context as it is.
void SelectVarStore(SetupFormDatabase &Db, UINT16 Id);

// Reads the question's value at Offset (Width bytes) from the current
// variable into Record. When the variable cannot be read or Offset lies
// beyond its size, Width, Offset and Value stay 0.
void ReadQuestionValue(SetupFormDatabase &Db, SetupQuestion *Record, UINT16 Offset, UINT8 Width);

// Copies Width bytes at Offset of the current variable into Out (which the
// caller zero-fills); bytes at or beyond the variable's size read as 0, and
// nothing is copied when the variable cannot be read or Offset lies beyond
// its size.
void ReadConditionBytes(SetupFormDatabase &Db, UINT16 Offset, UINT8 Width, UINT8 *Out);

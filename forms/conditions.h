// Suppress-if, gray-out-if and hidden conditions, evaluated once while the
// forms are parsed, against the variables as they are at that moment.
#pragma once

#include "forms/setup_form_database.h"

// ConditionKind values: the open scope.
constexpr UINT32 CONDITION_NONE = 0;
constexpr UINT32 CONDITION_GRAY_OUT = 1;
constexpr UINT32 CONDITION_HIDDEN = 2;
constexpr UINT32 CONDITION_SUPPRESS = 3;

// CombineMode values: how the next term's outcome m changes the result R.
constexpr UINT32 COMBINE_SET = 0;      // m
constexpr UINT32 COMBINE_AND = 1;      // R and m
constexpr UINT32 COMBINE_OR = 2;       // R or m
constexpr UINT32 COMBINE_NOT = 3;      // not m
constexpr UINT32 COMBINE_OR_NOT = 4;   // R or not m
constexpr UINT32 COMBINE_AND_NOT = 5;  // R and not m

// ConditionTerm kinds.
constexpr UINT32 TERM_COMPARISON = 0;
constexpr UINT32 TERM_NOT_MARK = 1;
constexpr UINT32 TERM_OR_MARK = 2;
constexpr UINT32 TERM_AND_MARK = 3;

// Handles one condition opcode (0x0A, 0x0C, 0x11 to 0x19); Length is the
// opcode's length byte. A comparison too short for its operands (or whose
// list runs past its end) is ignored.
void HandleConditionOpcode(SetupFormDatabase &Db, const UINT8 *OpCode, UINT8 Length);

// Turns the pending results into Flags bits of Record, then clears them.
void ApplyConditionResults(SetupFormDatabase &Db, SetupQuestion *Record);

// Compares Width bytes at QuestionOffset of the current variable with each
// of ValueCount little-endian UINT16 values at Values, and combines the
// outcome into the open scope's result by CombineMode (then reset to 0).
// Width 0 makes the result 0 and leaves CombineMode alone. A value compares
// zero-extended to the width; with width 1 only its low byte counts.
void EvaluateTerm(SetupFormDatabase &Db, UINT16 QuestionOffset, UINT8 Width, UINT16 ValueCount,
                  const UINT8 *Values);

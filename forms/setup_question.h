// Records of the setup form database: one SetupQuestion per form and per
// one-of, checkbox and numeric question, in the order the IFR holds them.
#pragma once

#include "runtime/uefi.h"

constexpr UINT32 SETUP_QUESTION_SUPPRESSED = 0x1;
constexpr UINT32 SETUP_QUESTION_HIDDEN = 0x2;
constexpr UINT32 SETUP_QUESTION_GRAYED_OUT = 0x4;

constexpr UINT8 IFR_FORM_OP = 0x01;
constexpr UINT8 IFR_ONE_OF_OP = 0x05;
constexpr UINT8 IFR_CHECKBOX_OP = 0x06;
constexpr UINT8 IFR_NUMERIC_OP = 0x07;

// One option as readers see it. Texts stay valid while the database stays
// loaded and lie below 4 GiB; they may be unaligned (one-of texts point
// into the packed export).
struct OptionView {
  const CHAR16 *Text;  // nullptr when the option has no text
  UINT32 TextLength;
  UINT32 Value;
};

// How a question keeps its options; readers walk them with OptionCursor
// (forms/option_cursor.h), never through these fields.
//
// A numeric question's options are every value of its range, up to 65,536
// of them, so the range is kept instead of a node per value, with the texts
// in one table shared by the whole database. One-of and checkbox questions
// keep an array of options: a one-of's in one block of its own whose texts
// point into the export, every checkbox the same two shared options.
enum : UINT8 {
  QUESTION_OPTIONS_NONE = 0,
  QUESTION_OPTIONS_LIST = 1,   // List[0..Count), in database order
  QUESTION_OPTIONS_RANGE = 2,  // Minimum..Maximum by Step (not 0), Minimum <= Maximum
};

struct QuestionOptions {
  UINT8 Kind;
  UINT16 Minimum;
  UINT16 Maximum;
  UINT16 Step;
  UINT32 Count;
  union {
    const OptionView *List;
    const CHAR16 *NumericTexts;  // the shared table of forms/numeric_texts.h
  };
};

struct SetupQuestion {
  UINT32 Flags;
  UINT8 OpCode;
  CHAR16 *PromptText;
  UINT16 PromptLength;
  UINT16 Width;
  UINT16 Offset;
  EFI_GUID *VariableGuid;
  CHAR16 *VariableName;
  UINT32 VariableSize;
  UINT32 VariableAttributes;
  UINT32 Value;
  QuestionOptions Options;
  SetupQuestion *Next;
  UINT16 FormId;
};

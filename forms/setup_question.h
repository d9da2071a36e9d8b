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

struct SetupOption {
  CHAR16 *Text;
  UINT32 TextLength;
  UINT32 Value;
  SetupOption *Next;
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
  SetupOption *Options;
  SetupQuestion *Next;
  UINT16 FormId;
};

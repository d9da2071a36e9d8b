// The setup form database: the HII export buffer and the ordered question
// list parsed from it. Owned by the SettingsEngine as its member Forms.
#pragma once

#include "forms/setup_question.h"

struct ConditionTerm {
  UINT32 Kind;  // 0 comparison term, 1 NOT mark, 2 OR mark, 3 AND mark
  UINT16 VarStoreId;
  UINT16 QuestionOffset;
  UINT8 Width;
  UINT16 ValueCount;
  const UINT8 *Values;  // little-endian UINT16 values inside the IFR
};

constexpr UINT32 EXPORT_HEADER_SIZE = 18;
constexpr UINT32 MAX_VARIABLE_PACKS = 32;
constexpr UINT32 CONDITION_STACK_ENTRIES = 51;

class SetupFormDatabase {
 public:
  SetupFormDatabase();
  ~SetupFormDatabase();
  SetupFormDatabase(const SetupFormDatabase &) = delete;
  SetupFormDatabase &operator=(const SetupFormDatabase &) = delete;

  // Copies the firmware's HII database into ExportBuffer. 0 on success,
  // otherwise the status that stopped it (ExportSize is then 0 again).
  [[nodiscard]] EFI_STATUS RetrieveForms();
  // Builds the question list from ExportBuffer. Always 0.
  [[nodiscard]] EFI_STATUS ParseForms();
  // Frees the question list, the option texts it made and ExportBuffer. Always 0.
  EFI_STATUS DiscardForms();

  UINT8 *ExportBuffer;
  UINT32 ExportSize;
  UINT8 ExportHeader[EXPORT_HEADER_SIZE];
  UINT8 *CurrentDataTable;
  CHAR16 DefaultVariableName[6];
  EFI_GUID *CurrentVariableGuid;
  CHAR16 *CurrentVariableName;
  UINT16 CurrentVarStoreId;
  UINT32 CurrentVariableSize;
  UINT32 CurrentVariableAttributes;
  UINT8 *VariablePacks[MAX_VARIABLE_PACKS];
  SetupQuestion *Questions;
  SetupOption *PendingOptions;
  UINT32 ConditionKind;
  UINT32 SuppressResult;
  UINT32 GrayOutResult;
  UINT32 HiddenResult;
  UINT32 CombineMode;
  ConditionTerm ConditionStack[CONDITION_STACK_ENTRIES];
  INT32 ConditionTop;
};

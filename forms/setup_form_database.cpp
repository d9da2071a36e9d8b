// Construction, appending and discarding of the setup form database.
#include "forms/setup_form_database.h"

#include "runtime/crt.h"

SetupFormDatabase::SetupFormDatabase()
    : Hii(nullptr),
      HiiHandle(0),
      ExportBuffer(nullptr),
      ExportSize(0),
      ExportHeader{},
      ExportHeaderSize(EXPORT_HEADER_SIZE),
      DataTableCount(0),
      CurrentDataTable(nullptr),
      DefaultVariableName{'S', 'e', 't', 'u', 'p', 0},
      CurrentVariableGuid(nullptr),
      CurrentVariableName(nullptr),
      CurrentVarStoreId(0),
      CurrentVariableSize(0),
      CurrentVariableAttributes(0),
      VariablePacks{},
      Questions(nullptr),
      QuestionsTail(nullptr),
      DroppingOptions(0),
      ConditionKind(0),
      SuppressResult(0),
      GrayOutResult(0),
      HiddenResult(0),
      CombineMode(0),
      ConditionStack{},
      ConditionTop(-1),
      StringCacheTable(nullptr),
      StringCachePack(0),
      VariableSource(FirmwareVariables()) {}

SetupFormDatabase::~SetupFormDatabase() { (void)DiscardForms(); }

void SetupFormDatabase::AppendQuestion(SetupQuestion *Record) {
  Record->Next = nullptr;
  if (Questions == nullptr) {
    Questions = Record;
  } else {
    QuestionsTail->Next = Record;
  }
  QuestionsTail = Record;
}

EFI_STATUS SetupFormDatabase::DiscardForms() {
  // The records and their option blocks go in a few blocks at once.
  Questions = nullptr;
  QuestionsTail = nullptr;
  Records.Release();
  // Options still waiting for an end-of-one-of would outlive their texts.
  PendingOptions.Release();
  DroppingOptions = 0;
  OptionTexts.Release();
  Variables.Stop();

  if (ExportBuffer != nullptr) {
    crt::FreeBelow4G(ExportBuffer);
    ExportBuffer = nullptr;
  }
  ExportSize = 0;
  DataTableCount = 0;

  // Everything below pointed into the buffer just freed. The condition
  // stack goes too: an operator at the start of the next load must not
  // re-evaluate a term of this one.
  CurrentDataTable = nullptr;
  CurrentVariableGuid = nullptr;
  CurrentVariableName = nullptr;
  for (UINT8 *&Pack : VariablePacks) Pack = nullptr;
  ConditionTop = -1;
  StringCacheTable = nullptr;
  StringCachePack = 0;
  return EFI_SUCCESS;
}

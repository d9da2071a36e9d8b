// The setup form database: the HII export buffer and the ordered question
// list parsed from it. Owned by the SettingsEngine as its member Forms.
//
// The operations on it live in small files of their own: hii_retrieval.cpp
// (RetrieveForms), ifr_parser.cpp (ParseForms), string_lookup.h,
// variable_store.h, question_options.h and conditions.h.
#pragma once

#include "forms/export_bytes.h"
#include "forms/pending_options.h"
#include "forms/record_arena.h"
#include "forms/setup_question.h"
#include "forms/shared_option_texts.h"
#include "forms/variable_cache.h"
#include "forms/variable_services.h"

struct _EFI_HII_PROTOCOL;

struct ConditionTerm {
  UINT32 Kind;  // 0 comparison term, 1 NOT mark, 2 OR mark, 3 AND mark
  UINT16 VarStoreId;
  UINT16 QuestionOffset;
  UINT8 Width;
  UINT16 ValueCount;
  const UINT8 *Values;  // little-endian UINT16 values inside the IFR
};

constexpr UINT32 EXPORT_HEADER_SIZE = 18;
constexpr UINT32 WIDE_EXPORT_HEADER_SIZE = 20;
constexpr UINT32 MAX_VARIABLE_PACKS = 32;
constexpr UINT32 CONDITION_STACK_ENTRIES = 51;

class SetupFormDatabase {
 public:
  SetupFormDatabase();
  ~SetupFormDatabase();
  SetupFormDatabase(const SetupFormDatabase &) = delete;
  SetupFormDatabase &operator=(const SetupFormDatabase &) = delete;

  // Copies the firmware's HII database into ExportBuffer. 0 on success,
  // otherwise the status that stopped it (ExportSize is then 0 again):
  // LocateHandle's or HandleProtocol's status when no HII protocol is found,
  // ExportDatabase's when the export fails, EFI_NOT_FOUND when the database
  // measures 0 bytes, EFI_OUT_OF_RESOURCES when the buffer cannot be had.
  [[nodiscard]] EFI_STATUS RetrieveForms();
  // Builds the question list from ExportBuffer. Always 0.
  [[nodiscard]] EFI_STATUS ParseForms();
  // Frees the question list, its options, the option texts it made and
  // ExportBuffer. Always 0.
  EFI_STATUS DiscardForms();

  // Links Record at the end of Questions.
  void AppendQuestion(SetupQuestion *Record);
  // The whole export buffer as a bounded region.
  ExportSpan Export() const { return ExportSpan{ExportBuffer, 0, ExportBuffer == nullptr ? 0 : ExportSize}; }

  // The Framework HII protocol found by the last retrieval and the handle
  // whose database is exported (0: the whole database).
  _EFI_HII_PROTOCOL *Hii;
  UINT16 HiiHandle;
  UINT8 *ExportBuffer;  // below 4 GiB: option texts inside it reach clients
  UINT32 ExportSize;
  // The classic 18-byte header as exported (for the 20-byte form, its first
  // 18 bytes); ExportHeaderSize and DataTableCount say how to read it.
  UINT8 ExportHeader[EXPORT_HEADER_SIZE];
  UINT32 ExportHeaderSize;  // 18 or 20: where the first data table starts
  UINT32 DataTableCount;    // from the 16- or 32-bit count of the header
  UINT8 *CurrentDataTable;
  CHAR16 DefaultVariableName[6];
  EFI_GUID *CurrentVariableGuid;
  CHAR16 *CurrentVariableName;
  UINT16 CurrentVarStoreId;
  UINT32 CurrentVariableSize;
  UINT32 CurrentVariableAttributes;
  UINT8 *VariablePacks[MAX_VARIABLE_PACKS];
  SetupQuestion *Questions;
  SetupQuestion *QuestionsTail;  // last record, so appending does not walk
  PendingOptionList PendingOptions;
  // Set while the options of an ordered list (or of a one-of that kept no
  // record) are being read: they have no question to go to and are dropped.
  UINT8 DroppingOptions;
  UINT32 ConditionKind;
  UINT32 SuppressResult;
  UINT32 GrayOutResult;
  UINT32 HiddenResult;
  UINT32 CombineMode;
  ConditionTerm ConditionStack[CONDITION_STACK_ENTRIES];
  INT32 ConditionTop;

  // The "eng" string pack of one data table, remembered between lookups.
  const UINT8 *StringCacheTable;  // nullptr: nothing remembered
  UINT64 StringCachePack;         // offset of the pack; 0 when the table has none
  // The records of Questions and the one-of option blocks.
  RecordArena Records;
  // Texts made for checkbox and numeric options.
  SharedOptionTexts OptionTexts;
  // Variable reads of the running ParseForms.
  VariableCache Variables;
  // Where variables are read (and, by the change operations, written): the
  // firmware, or an overlay of it.
  const VariableServices *VariableSource;
};

// The walk GetSettings and SetSettings share: the questions the operation
// may consider, in form order, each matched with the client's records of
// its prompt that still wait.
#pragma once

#include "bioscfg_protocol.h"
#include "settings/eligibility.h"
#include "settings/record_list.h"
#include "settings/settings_engine.h"

// Checks and indexes the client's list, then hands Apply each eligible value
// question (and the form record that holds it, or nullptr) with a waiting
// record of its prompt: one record per question
// (the n-th question of a prompt takes the n-th record) or, with
// EveryRecord, every waiting record of that prompt to the first such
// question. Stops at Apply's first failure. EFI_SUCCESS,
// BCFG_E_INVALID_PARAMETER (NULL or looping list), BCFG_E_OUT_OF_MEMORY, or
// Apply's status.
template <class Record, class ApplyStep>
[[nodiscard]] EFI_STATUS MatchRecordsByPrompt(SettingsEngine &Engine, Record *Head, SettingsOperation Operation,
                                              bool (*Waiting)(const Record &), bool EveryRecord, ApplyStep &&Apply) {
  UINTN Count = 0;
  if (Head == nullptr || !CountRecords(Head, &Count)) return BCFG_E_INVALID_PARAMETER;
  PendingRecords<Record> Pending;
  EFI_STATUS Status = Pending.Build(Head, Count, Waiting);
  if (Status != EFI_SUCCESS) return Status;

  const SetupQuestion *Form = nullptr;
  for (SetupQuestion *Question = Engine.Forms.Questions; Question != nullptr; Question = Question->Next) {
    if (Question->OpCode == IFR_FORM_OP) Form = Question;
    if (!IsValueQuestion(*Question)) continue;
    if (!QuestionEligible(*Question, Operation, Engine.AllQuestionsMode)) continue;
    const PromptText Prompt = PromptOf(*Question);
    for (Record *Match = Pending.TakeFirst(Prompt); Match != nullptr;
         Match = EveryRecord ? Pending.TakeFirst(Prompt) : nullptr) {
      Status = Apply(*Question, *Match, Form);
      if (Status != EFI_SUCCESS) return Status;
    }
  }
  return EFI_SUCCESS;
}

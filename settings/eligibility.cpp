#include "settings/eligibility.h"

#include "settings/prompt_compare.h"

namespace {

// The fast-boot prompt, matched as a prefix with its case: 16 characters.
constexpr char16_t FAST_BOOT_PROMPT[] = u"Vexon Swift Boot";
constexpr UINT32 FAST_BOOT_PROMPT_LENGTH = 16;
static_assert(sizeof(FAST_BOOT_PROMPT) / sizeof(FAST_BOOT_PROMPT[0]) == FAST_BOOT_PROMPT_LENGTH + 1);

UINT32 ExcludingFlags(SettingsOperation Operation) {
  const UINT32 Hidden = SETUP_QUESTION_SUPPRESSED | SETUP_QUESTION_HIDDEN;
  switch (Operation) {
    case SettingsOperation::Get:
    case SettingsOperation::GetForm: return Hidden;
    case SettingsOperation::Set:
    case SettingsOperation::SetForm: return Hidden | SETUP_QUESTION_GRAYED_OUT;
  }
  return Hidden | SETUP_QUESTION_GRAYED_OUT;
}

}  // namespace

bool QuestionEligible(const SetupQuestion &Question, SettingsOperation Operation, UINT8 AllQuestionsMode) {
  const PromptText Prompt = PromptOf(Question);
  if (Prompt.Length == 0) return false;
  if ((Question.Flags & ExcludingFlags(Operation)) == 0) return true;
  const bool ByName = Operation == SettingsOperation::Get || Operation == SettingsOperation::Set;
  if (!ByName) return false;
  return AllQuestionsMode != 0 || PromptStartsWith(Prompt, FAST_BOOT_PROMPT, FAST_BOOT_PROMPT_LENGTH);
}

bool IsValueQuestion(const SetupQuestion &Question) {
  return Question.OpCode == IFR_ONE_OF_OP || Question.OpCode == IFR_CHECKBOX_OP ||
         Question.OpCode == IFR_NUMERIC_OP;
}

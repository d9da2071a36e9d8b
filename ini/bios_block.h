// Which records the INI export and import walk.
#pragma once

#include "forms/setup_question.h"

// A form or question that has a prompt and is neither suppressed, hidden
// nor grayed out. One rule for both directions, so their section paths stay
// in step.
[[nodiscard]] inline bool InBiosBlock(const SetupQuestion &Record) {
  constexpr UINT32 HIDING_FLAGS = SETUP_QUESTION_SUPPRESSED | SETUP_QUESTION_HIDDEN | SETUP_QUESTION_GRAYED_OUT;
  return Record.PromptText != nullptr && Record.PromptLength != 0 && (Record.Flags & HIDING_FLAGS) == 0;
}

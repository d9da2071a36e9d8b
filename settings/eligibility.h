// Which questions an operation may consider.
//
// Condition flags hide a question from clients: suppressed and hidden
// questions are not shown by setup, grayed-out ones are shown but locked.
// The get operations skip the first two, the change operations all three.
// GetSettings and SetSettings consider every question that has a prompt
// when the session's AllQuestionsMode is not 0, and always consider the
// fast-boot question, which firmware keeps suppressed on most boards while
// provisioning tools still need to set it.
#pragma once

#include "forms/setup_question.h"

enum class SettingsOperation { Get, Set, GetForm, SetForm };

// Whether Operation considers Question at all (before its OpCode is
// looked at). AllQuestionsMode matters only to Get and Set.
[[nodiscard]] bool QuestionEligible(const SetupQuestion &Question, SettingsOperation Operation,
                                    UINT8 AllQuestionsMode);

// One-of, checkbox or numeric: the questions whose values are read and set.
[[nodiscard]] bool IsValueQuestion(const SetupQuestion &Question);

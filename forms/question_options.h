// The option builders the IFR parser calls: checkbox and numeric questions
// have no option opcodes, so their options are made here; a one-of's are
// collected while its option opcodes are read and stored at its end.
#pragma once

#include "forms/setup_form_database.h"

// "Enabled" (1) then "Disabled" (0), shared by every checkbox of the
// database. None when the shared texts cannot be made.
[[nodiscard]] QuestionOptions MakeCheckboxOptions(SetupFormDatabase &Db);

// One option per value from Minimum to Maximum in steps of Step, highest
// first, each with its four-digit text, kept as the range. None when Step
// is 0, Minimum is above Maximum, or the table of numeric texts cannot be
// made.
[[nodiscard]] QuestionOptions MakeNumericOptions(SetupFormDatabase &Db, UINT16 Minimum, UINT16 Maximum,
                                                 UINT16 Step);

// Collects a one-of option.
void AddPendingOption(SetupFormDatabase &Db, const OptionView &Option);

// The collected options in the reverse of their IFR order, in one block of
// the database's records; the collection is emptied. None when nothing was
// collected, when an option could not be collected (a question keeps all of
// its options or none), or when the block cannot be allocated.
[[nodiscard]] QuestionOptions TakePendingOptions(SetupFormDatabase &Db);

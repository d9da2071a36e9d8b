// Option lists the database makes itself: checkbox and numeric questions
// have no option opcodes, so their choices and texts are made here.
#pragma once

#include "forms/setup_form_database.h"

// "Enabled" (value 1) then "Disabled" (value 0). An option whose node or
// text cannot be allocated is left out.
[[nodiscard]] SetupOption *MakeCheckboxOptions(SetupFormDatabase &Db);

// One option per value from Minimum to Maximum in steps of Step, highest
// first, each with the first four characters of its "%04d" text. Step must
// not be 0. On a failed allocation the options made so far are returned.
[[nodiscard]] SetupOption *MakeNumericOptions(SetupFormDatabase &Db, UINT16 Minimum, UINT16 Maximum,
                                              UINT16 Step);

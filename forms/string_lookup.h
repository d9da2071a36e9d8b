// Texts of string tokens, in the "eng" string pack of the current data table.
#pragma once

#include "forms/setup_form_database.h"

struct LookedUpString {
  CHAR16 *Text;  // inside the export buffer; nullptr when there is no text
  UINT16 Length;  // characters before the NUL
};

// The "eng" text of Token in Db.CurrentDataTable. No text (nullptr, 0) when
// the table has no "eng" pack, the token's string pointer or the start of
// its text lies outside the pack (or, for a pack that claims more than the
// export holds, outside the export), the text has no NUL inside the export,
// or it is longer than 65535 characters.
[[nodiscard]] LookedUpString LookupString(SetupFormDatabase &Db, UINT16 Token);

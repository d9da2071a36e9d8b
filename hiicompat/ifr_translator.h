// The second pass over a UEFI form set: its forms and its one-of, checkbox
// and numeric questions become Framework IFR the driver parses, each
// question with its own conditions (the driver's evaluator marks only the
// question that follows a condition, so conditions are repeated per
// question rather than wrapped around blocks).
//
// Per question: the suppress-ifs around it become one Framework
// suppress-if, the gray-out-ifs one gray-out-if, as a chain the driver
// evaluates when condition_chain.h finds one, else decided now against the
// current values and written as always-true or left out. A disable-if that
// holds (or cannot be decided) leaves everything inside it out. A
// suppress-if around one-of options is decided now: a suppressed option is
// left out. Questions without storage, with a callback or read-only are
// carried over grayed out; the kinds the driver has no model for are left
// out and counted.
#pragma once

#include "hiicompat/framework_table.h"
#include "hiicompat/store_values.h"

namespace hiicompat {

struct FormSetSource {
  ByteView Ifr;  // the form package's opcodes
  UINT64 Start;  // the FORM_SET opcode
  UINT64 End;    // past its scope
  const FormSetModel *Model;
  StoreValues *Values;
};

// Writes the form set's Framework IFR into Table, counting into Counts. A
// failure of memory or of the builder is recorded in the table.
void TranslateFormSet(const FormSetSource &Source, FrameworkTable &Table, TranslationCounts &Counts);

}  // namespace hiicompat

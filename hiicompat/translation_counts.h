// What one translation carried over and left out, by kind, for the console
// report and for tests.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

// Questions carried over, by the Framework opcode they became.
enum class Carried : UINT8 { OneOf, CheckBox, Numeric, Count };

// Why a question was left out.
enum class LeftOut : UINT8 {
  String,
  Password,
  Date,
  Time,
  OrderedList,
  Action,
  Wide,           // an 8-byte numeric or one-of
  BeyondSixteen,  // values or a range past 16 bits (the Framework's limit)
  BitField,       // in a bit-field store
  NameValue,      // in a name/value store
  NoVariableName, // in a UEFI 2.1 EFI variable store, which names none
  UnknownStore,   // names a varstore the form set does not declare
  LargeStore,     // in a store larger than the driver reads (4096 bytes)
  ManyStores,     // past the 32 stores a Framework table holds
  NoRouting,      // a buffer store on firmware without Config Routing
  NoDevicePath,   // a buffer store whose package list names no owner
  Disabled,       // under a disable-if that holds (or cannot be evaluated)
  Malformed,      // its opcode is too short for its fields
  Count
};

struct TranslationCounts {
  UINT32 CarriedOver[static_cast<UINT32>(Carried::Count)];
  UINT32 Omitted[static_cast<UINT32>(LeftOut::Count)];
  UINT32 GrayedOut;          // of those carried over: no storage, a callback, read-only
  UINT32 FrameworkConditions;  // conditions the driver evaluates
  UINT32 EvaluatedConditions;  // conditions decided at export time
  UINT32 Unevaluable;          // conditions neither could decide (question grayed out)
  UINT32 FormSets;

  void Count(Carried Kind) { ++CarriedOver[static_cast<UINT32>(Kind)]; }
  void Count(LeftOut Reason) { ++Omitted[static_cast<UINT32>(Reason)]; }
  UINT32 Of(Carried Kind) const { return CarriedOver[static_cast<UINT32>(Kind)]; }
  UINT32 Of(LeftOut Reason) const { return Omitted[static_cast<UINT32>(Reason)]; }
};

// Short names for the report ("string", "8-byte numeric", ...).
const char *LeftOutName(LeftOut Reason);

}  // namespace hiicompat

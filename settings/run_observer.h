// What the change operations and the INI import tell an observer about each
// question they change, refuse or fail to write, in the order they meet
// them. The protocol layer hands these to clients that plan or report a run;
// without an observer nothing is reported and nothing is spent on it.
#pragma once

#include "bioscfg_protocol.h"
#include "forms/setup_question.h"

enum class StepKind : UINT8 {
  Change,  // the question's stored value changes
  Refuse,  // the value is not among the question's options: the run stops here
  Fail,    // the question's variable cannot be read or written: the run stops here
};

struct ChangeStep {
  StepKind Kind;
  bool Reshapes;  // a change of a reshaping question that asks for a reload
  bool TooWide;   // the value text does not fit 32 bits
  const SetupQuestion *Question;
  const SetupQuestion *Form;  // the form record that holds it; nullptr when none
  // The client's record of a change operation; nullptr for the INI import.
  BIOS_SETTING_VALUE *Record;
  // The INI import's section, key and value text; nullptr for the others.
  const char *Section;
  const char *Key;
  const char *ValueText;
  UINT32 OldValue;     // as stored before (for a refusal: as the forms were read)
  UINT32 NewValue;     // as asked for
  UINT32 StoredValue;  // as the question's bytes keep it
};

struct RunObserver {
  void (*Step)(void *Context, const ChangeStep &Step);
  void *Context;
};

class SettingsEngine;

// Tells the engine's observer, if it has one.
void ReportStep(const SettingsEngine &Engine, const ChangeStep &Step);

struct WriteOutcome;

// After a write of Step's question that returned Status: a Fail step when
// it failed, a Change step (with the old and stored values of Outcome) when
// it changed the bytes, nothing when the value was already stored.
void ReportWrite(const SettingsEngine &Engine, ChangeStep Step, EFI_STATUS Status, const WriteOutcome &Outcome);

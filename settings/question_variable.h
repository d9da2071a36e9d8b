// Reading and writing the UEFI variable behind a setup question.
//
// A question's value is 1, 2 or 4 bytes at a byte offset of a variable that
// many questions share, so a change rereads the whole variable, patches the
// question's bytes and writes the whole variable back. Every write is a
// flash update on a real board (and often an SMI), and a wrong byte in a
// setup variable can leave a server unbootable: nothing is written when the
// value is already stored, when the variable can't be read as a whole, when
// the question's bytes don't lie inside it as it is now, or when its
// attributes would make the write a delete.
#pragma once

#include "bioscfg_protocol.h"
#include "forms/setup_question.h"
#include "forms/variable_services.h"
#include "runtime/owned.h"

class SettingsEngine;

struct VariableContents {
  crt::HeapPtr<UINT8> Data;
  UINTN Size = 0;
  UINT32 Attributes = 0;
};

// The whole variable named by the question's VariableName and VariableGuid,
// as it is now, with the attributes GetVariable reports (which also refresh
// the question's VariableAttributes). EFI_SUCCESS; BCFG_E_OUT_OF_MEMORY when
// no buffer can be had; otherwise the reason it can't be read (GetVariable's
// status, or EFI_INVALID_PARAMETER for a question without a usable name or
// GUID).
[[nodiscard]] EFI_STATUS ReadQuestionVariable(SetupQuestion &Question, VariableContents &Out);
// The same, from Source (the firmware or an overlay of it).
[[nodiscard]] EFI_STATUS ReadQuestionVariable(const VariableServices &Source, SetupQuestion &Question,
                                              VariableContents &Out);

// What a write did to the question's bytes.
struct WriteOutcome {
  bool Changed = false;  // the bytes differed and were written
  UINT32 OldValue = 0;   // the question's bytes before, as a number
  UINT32 Stored = 0;     // the value the question's bytes hold now (the new value masked to the width)
};

// Stores Value.Value into the question's bytes of its variable. EFI_SUCCESS
// when it is stored or already was (and, as for any question whose width is
// not 1, 2 or 4, when there is nothing to store); BCFG_E_OUT_OF_MEMORY; or
// the failure: the variable can't be read, the question's bytes reach past
// it (EFI_BAD_BUFFER_SIZE), its attributes grant no access
// (EFI_WRITE_PROTECTED), or SetVariable's status.
// The variable is read and written through the engine's variable source.
[[nodiscard]] EFI_STATUS WriteQuestionValue(SettingsEngine &Engine, SetupQuestion &Question,
                                            const BIOS_SETTING_VALUE &Value);
// WriteQuestionValue that also tells what it did (Outcome is filled on
// EFI_SUCCESS).
[[nodiscard]] EFI_STATUS WriteQuestionValue(SettingsEngine &Engine, SetupQuestion &Question,
                                            const BIOS_SETTING_VALUE &Value, WriteOutcome &Outcome);

// WriteQuestionValue for the change operations: a failure puts "Error in
// setting BIOS Variable" with Value's name into the last-error text and
// becomes BCFG_E_VARIABLE_ACCESS (BCFG_E_OUT_OF_MEMORY stays as it is, with
// no text); on success the record's Status becomes 1.
[[nodiscard]] EFI_STATUS StoreRecord(SettingsEngine &Engine, SetupQuestion &Question, BIOS_SETTING_VALUE &Value,
                                     WriteOutcome &Outcome);

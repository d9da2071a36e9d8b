// The four operations on setup questions behind the protocol: reading and
// changing questions by prompt, anywhere in the forms or along one form.
//
// The protocol layer has checked the session and loaded the forms; these
// walk the engine's question list in form order against the client's list
// of records. All four return BCFG_E_INVALID_PARAMETER for a NULL list or
// one that loops back on itself, and BCFG_E_OUT_OF_MEMORY when a buffer the
// call needs can't be had.
#pragma once

#include "bioscfg_protocol.h"

class SettingsEngine;

// Fills each record from a question with the same prompt; several questions
// of one prompt fill successive records of that name. EFI_SUCCESS,
// BCFG_E_INVALID_PARAMETER, BCFG_E_OUT_OF_MEMORY (an option node; the record
// being filled keeps Type, Value and the nodes made so far, without Found).
[[nodiscard]] EFI_STATUS GetSettings(SettingsEngine &Engine, BIOS_SETTING_REQUEST *Requests);

// The head names a form by title, the further records questions of that
// form in form order. Same statuses as GetSettings.
[[nodiscard]] EFI_STATUS GetFormSettings(SettingsEngine &Engine, BIOS_SETTING_REQUEST *Requests);

// Writes each record's value into the first eligible question with its
// prompt. EFI_SUCCESS; BCFG_E_INVALID_PARAMETER; BCFG_E_OUT_OF_RANGE (the
// record gets Status 2, no text); BCFG_E_VARIABLE_ACCESS ("Error in setting
// BIOS Variable" text); BCFG_E_OUT_OF_MEMORY. Earlier writes stay.
[[nodiscard]] EFI_STATUS SetSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values);

// As SetSettings along one form (head: the form's title). Switching one of
// the two form-reshaping questions to a new non-zero value sets
// ReloadRequired and, while deferral is on, only marks the rest of the
// form. EFI_SUCCESS; BCFG_E_INVALID_PARAMETER; BCFG_E_OUT_OF_RANGE (Status
// 0, "Data for BIOS Var ... is out of range" text); BCFG_E_VARIABLE_ACCESS;
// BCFG_E_OUT_OF_MEMORY.
[[nodiscard]] EFI_STATUS SetFormSettings(SettingsEngine &Engine, BIOS_SETTING_VALUE *Values);

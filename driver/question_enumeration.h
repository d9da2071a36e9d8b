// EnumerateQuestions of the second protocol: the question list handed to a
// client one record at a time.
#pragma once

#include "bioscfg_protocol.h"

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session); BCFG_E_INVALID_PARAMETER
// (NULL Visit); BCFG_E_VARIABLE_ACCESS (the forms); BCFG_E_OUT_OF_MEMORY.
EFI_STATUS EFIAPI EnumerateQuestions(BIOS_CONFIG_EXTENSIONS_PROTOCOL *This, UINT32 First,
                                     BIOS_CONFIG_QUESTION_CALLBACK Visit, VOID *Context);

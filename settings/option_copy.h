// Filling a client's request record from a question.
#pragma once

#include "bioscfg_protocol.h"
#include "forms/setup_question.h"

// Type and Value from the question, then one BIOS_SETTING_OPTION per option
// put in front of the record's Options (so the client's list runs the other
// way round from the database's), then Found. Each node comes from the
// driver's heap and holds the low 32 bits of its text's address; texts lie
// below 4 GiB and stay valid while the forms stay loaded. EFI_SUCCESS, or
// BCFG_E_OUT_OF_MEMORY with the nodes made so far linked and Found untouched.
[[nodiscard]] EFI_STATUS FillRequest(const SetupQuestion &Question, BIOS_SETTING_REQUEST &Request);

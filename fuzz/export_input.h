// The input of the targets that parse forms: the firmware's HII export,
// optionally followed by the contents of the setup variables the forms
// read:
//
//   export | records | length of records (UINT16 LE) | "VARS"
//
// where each record is a selector byte (which variable: a name and GUID the
// seeds' forms or the sample platform use), a UINT16 LE size and that many
// bytes (a size beyond the bytes left repeats them, so large variables stay
// cheap to describe; sizes run past the 4096 bytes the driver reads).
// Without the tag the variables keep the contents the machine started with.
#pragma once

#include "sim/firmware.h"

#include <cstddef>
#include <cstdint>

namespace fuzz {

// The shared machine with those variables and a Framework HII protocol.
sim::Firmware &ExportMachine();

// Puts the input's variables in place (the start-up contents again when the
// last input changed them) and serves its export; the driver will look the
// HII protocol up afresh.
void ServeExportInput(sim::Firmware &Fw, const uint8_t *Data, size_t Size);

// Puts every variable back to its start-up contents (after an input whose
// operations wrote some), so each input starts from the same machine.
void RestoreStartVariables(sim::Firmware &Fw);

}  // namespace fuzz

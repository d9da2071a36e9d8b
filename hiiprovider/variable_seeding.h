// Creating the platform's setup variables from the variable store text.
//
// A variable the firmware does not have yet is created with its contents,
// non-volatile and with boot-service access (runtime access as the text
// says), so that the values a client changes survive a reset. A variable
// that exists is left alone, whatever it holds: it may carry the settings
// of an earlier boot. When its size differs from the text's, the forms were
// probably laid out for other contents; the provider still keeps it (a
// boot-time driver does not destroy settings) and says so on the console,
// with the Shell command that removes it so the next load recreates it.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

struct SeedCounts {
  UINT32 Created;
  UINT32 Kept;      // existed already (with any size)
  UINT32 Resized;   // of those kept, how many differ in size from the text
  UINT32 Failed;    // could not be read or created; each is reported
};

// The attributes a variable is created with, from the text's attributes.
UINT32 CreationAttributes(UINT32 FromText);

// Checks the whole text first: a bad line (reported on the console as
// "ORIGIN: line N: ...") creates nothing and returns EFI_LOAD_ERROR. Then
// walks it, creating what is missing. EFI_SUCCESS (failures of single
// variables are counted and reported) or EFI_OUT_OF_RESOURCES.
[[nodiscard]] EFI_STATUS SeedVariables(const char *Text, size_t Length, const char *Origin, SeedCounts &Counts);

}  // namespace hiiprovider

// The one file the image keeps indexed, and when to read it again.
//
// An import asks thousands of keys of one file. The first lookup reads and
// indexes the file; later lookups of the same path reuse the index after one
// GetInfo on the stream kept open on it, and the file is read again when
// its size or modification time changed, when it can no longer be asked
// (deleted, medium gone), or when another path is named. A section probe
// (an empty key), which is how every import starts, always reads the file
// again: FAT keeps modification times to two seconds, so a script that
// rewrites a file with values of the same length and imports it at once
// would otherwise be answered from the old text.
#pragma once

#include "runtime/uefi.h"

namespace iniparse {

class IniIndex;

// Sets Index to the index of the file IniFileName names (see
// ini_parser_protocol.h for how names resolve). INI_LOOKUP_FOUND;
// INI_LOOKUP_SECTION_NOT_FOUND when the name cannot be resolved, the file
// cannot be opened, or it exceeds the index's limits; INI_LOOKUP_READ_ERROR
// when the firmware fails reading or memory runs out. After a failure no
// file is indexed.
// With ReadAgain the file is read afresh whatever its size and time.
[[nodiscard]] INT32 IndexForFile(const char *IniFileName, bool ReadAgain, const IniIndex *&Index);

}  // namespace iniparse

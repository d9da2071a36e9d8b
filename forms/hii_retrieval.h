// Finding the Framework HII protocol and reading the export header.
// RetrieveForms itself is a member of SetupFormDatabase.
#pragma once

#include "forms/setup_form_database.h"

// Locates the Framework HII protocol into Db.Hii and sets Db.HiiHandle to 0. Tries the classic GUID and, only when no handle carries it
// (LocateHandle's EFI_NOT_FOUND), the later one; a handle whose
// HandleProtocol fails ends the search with that failure. Returns 0, LocateHandle's status (e.g.
// EFI_BUFFER_TOO_SMALL for more than two handles) or the last HandleProtocol
// status.
[[nodiscard]] EFI_STATUS LocateHiiProtocol(SetupFormDatabase &Db);

// Fills ExportHeader, ExportHeaderSize and DataTableCount from the first
// ExportSize bytes of ExportBuffer. A buffer too short for a header counts
// no tables.
void ReadExportHeader(SetupFormDatabase &Db);

// The driver-wide session: open/closed, its SettingsEngine and its
// MessageCatalogHolder, all in gImage.
#pragma once

#include "runtime/uefi.h"

class SettingsEngine;

// Session check of the operations that work on the questions: with no
// session open it formats message 11 into the last-error text (which stays
// unchanged, since the catalog exists only while a session is open) and
// returns BCFG_E_GENERAL_FAILURE; otherwise EFI_SUCCESS.
[[nodiscard]] EFI_STATUS RequireSession();

// The open session's engine (NULL when no session is open).
SettingsEngine *SessionEngine();

// The prologue of the second protocol's enumerations: RequireSession, then
// BCFG_E_INVALID_PARAMETER without a visitor, then the forms loaded
// (EnsureFormsLoaded's status). On EFI_SUCCESS *Out is the session's engine.
[[nodiscard]] EFI_STATUS SessionFormsForVisitor(bool HasVisitor, SettingsEngine **Out);

// Opens a fresh session, closing an open one first. EFI_SUCCESS, or
// BCFG_E_GENERAL_FAILURE with the session left closed.
[[nodiscard]] EFI_STATUS OpenNewSession();
// Destroys the engine and the catalog and marks the session closed.
void CloseCurrentSession();

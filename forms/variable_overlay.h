// Setup variables kept in memory over another store (normally the firmware).
//
// Reads are served from the overlay once a variable has been read through
// it; a write changes only the overlay's copy. Two uses:
// - a plan: the change operations and the INI import run against the
//   overlay and write nothing, yet each read after a write sees that write,
//   and a form reload built from the overlay shows what the firmware would
//   show after the real run;
// - combined writes: a pass of a change operation collects its changes here
//   and Flush writes each changed variable once, instead of one
//   read-modify-write per question (on a server every SetVariable is an SMI
//   and a flash write).
// The overlay follows SetVariable's rules where the driver can meet them:
// a write with no data or no access attributes deletes, and an existing
// variable keeps its attributes.
#pragma once

#include "forms/variable_services.h"

class VariableOverlay {
 public:
  explicit VariableOverlay(const VariableServices *Under);
  ~VariableOverlay();
  VariableOverlay(const VariableOverlay &) = delete;
  VariableOverlay &operator=(const VariableOverlay &) = delete;

  // GetVariable and SetVariable on the overlay.
  const VariableServices *Services() const { return &Own; }

  // Writes every variable whose contents differ from what was first read,
  // one SetVariable each, in the order of their first change, and stops at
  // the first failure (that variable and the ones after it keep their
  // changes unwritten). EFI_SUCCESS, or the failing SetVariable's status.
  [[nodiscard]] EFI_STATUS Flush();

  // Whether the named variable holds changes that are not written to the
  // store below (all changes, before a Flush; those a failed Flush did not
  // reach, after one).
  [[nodiscard]] bool HasUnwrittenChange(const CHAR16 *Name, const EFI_GUID *Guid) const;
  // Distinct variables whose contents now differ from what was first read.
  [[nodiscard]] UINT32 ChangedVariables() const;

  // Calls Visit for every variable read through the overlay, in the order
  // of first reading (Exists false for one the store does not have).
  struct Contents {
    const CHAR16 *Name;
    const EFI_GUID *Guid;
    bool Exists;
    UINT32 Attributes;
    UINTN Size;
    const UINT8 *Data;
  };
  void ForEach(void (*Visit)(void *Context, const Contents &Variable), void *Context) const;

 private:
  struct Entry;
  Entry *Find(const CHAR16 *Name, const EFI_GUID &Guid) const;
  // The entry of a variable, read from the store below on first use.
  [[nodiscard]] EFI_STATUS Load(CHAR16 *Name, EFI_GUID *Guid, UINTN FirstSize, Entry **Out);
  EFI_STATUS Get(CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, void *Data);
  EFI_STATUS Set(CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, void *Data);
  static EFI_STATUS GetThunk(void *Self, CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize,
                             void *Data);
  static EFI_STATUS SetThunk(void *Self, CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize,
                             void *Data);

  const VariableServices *Under;
  VariableServices Own;
  Entry *Head;
  Entry *Tail;
  UINT32 Changes;  // order of first changes so far
};

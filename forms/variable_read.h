// One read of the variable the current context names (CurrentVariableName
// under CurrentVariableGuid), as the question values and condition terms
// need it.
#pragma once

#include "forms/setup_form_database.h"

// Reads the variable on construction: through the database's cache while a
// ParseForms keeps one, straight from GetVariable otherwise. On success it
// sets CurrentVariableSize and CurrentVariableAttributes; on failure (no
// GUID, no such variable, data over 4096 bytes, a name of 2048 characters or
// more, no memory) there is no data and the context keeps its old values.
class VariableRead {
 public:
  explicit VariableRead(SetupFormDatabase &Db);
  ~VariableRead();
  VariableRead(const VariableRead &) = delete;
  VariableRead &operator=(const VariableRead &) = delete;

  bool HasData() const { return Snapshot != nullptr && Snapshot->Status == EFI_SUCCESS; }
  UINT32 Size() const { return HasData() ? Snapshot->Size : 0; }
  // The byte at Position; bytes at or beyond the variable's size read as 0.
  UINT8 ByteAt(UINT64 Position) const {
    return Position < Size() ? Snapshot->Data[Position] : 0;
  }

 private:
  // A read with data sets the context's size and attributes.
  void Settle(SetupFormDatabase &Db) const;

  const VariableSnapshot *Snapshot;
  VariableSnapshot *Owned;  // a read made without the cache
};

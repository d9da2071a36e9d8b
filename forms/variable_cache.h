// What GetVariable returned for each distinct variable (name + GUID) during
// one ParseForms.
//
// The forms are parsed inside one protocol operation, during which nothing
// else writes variables, so a second read of the same variable would return
// the same bytes. Every question and every evaluation of a condition term
// reads its variable; keeping the first result turns hundreds of firmware
// calls into one per variable. The failures are kept as well (a variable over
// 4096 bytes, a missing one): a later read must fail in the same way.
#pragma once

#include "runtime/uefi.h"

// Variables are read into a buffer of this many bytes; larger ones cannot be
// read at all.
constexpr UINT32 VARIABLE_READ_BYTES = 4096;
// Names are copied into a buffer of this many characters, NUL included.
constexpr UINT32 VARIABLE_NAME_CHARS = 2048;

// One GetVariable result. Name and Data live in the same heap block.
struct VariableSnapshot {
  VariableSnapshot *Next;
  EFI_GUID Guid;
  EFI_STATUS Status;
  UINT32 Attributes;
  UINT32 Size;
  UINT32 NameUnits;
  CHAR16 *Name;  // NameUnits characters and a NUL
  UINT8 *Data;   // VARIABLE_READ_BYTES bytes, the first Size of them valid
};

// Allocates a snapshot for the name (NameUnits characters) and GUID, with
// Status EFI_NOT_READY and room for the data; nullptr when out of memory.
// Release it with crt::free.
[[nodiscard]] VariableSnapshot *NewVariableSnapshot(const UINT8 *NameBytes, UINT32 NameUnits,
                                                    const EFI_GUID &Guid);

class VariableCache {
 public:
  constexpr VariableCache() : Head(nullptr), Active(false), RecentName(nullptr), RecentGuid(nullptr), Recent(nullptr) {}
  ~VariableCache() { Stop(); }
  VariableCache(const VariableCache &) = delete;
  VariableCache &operator=(const VariableCache &) = delete;

  // Between Start and Stop, results are kept; Stop forgets them all.
  void Start();
  void Stop();
  bool IsActive() const { return Active; }

  // The kept result for this name (NameUnits characters, read byte-wise) and
  // GUID, or nullptr.
  const VariableSnapshot *Find(const UINT8 *NameBytes, UINT32 NameUnits, const EFI_GUID &Guid) const;
  // Takes ownership of Snapshot.
  void Keep(VariableSnapshot *Snapshot);

  // Consecutive questions mostly read the same variable through the same
  // name and GUID pointers (into the export, which does not change while it
  // is parsed), so the last lookup is remembered by those pointers.
  const VariableSnapshot *FindRecent(const CHAR16 *Name, const EFI_GUID *Guid) const {
    return Name == RecentName && Guid == RecentGuid ? Recent : nullptr;
  }
  void RememberRecent(const CHAR16 *Name, const EFI_GUID *Guid, const VariableSnapshot *Snapshot) {
    RecentName = Name;
    RecentGuid = Guid;
    Recent = Snapshot;
  }

 private:
  VariableSnapshot *Head;
  bool Active;
  const CHAR16 *RecentName;
  const EFI_GUID *RecentGuid;
  const VariableSnapshot *Recent;
};

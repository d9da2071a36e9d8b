// The environment: firmware variables whose data is printable text, taken
// once at Startup and keyed by variable name (case-sensitive).
//
// Variable names are unique only per GUID. When a name appears under several
// GUIDs, the UEFI Shell's GUID wins (that is where `set` puts what the user
// typed); otherwise the first one the firmware enumerates wins.
//
// The enumeration trusts nothing: a name buffer the firmware calls too small
// is grown only up to MAX_NAME_UNITS, values above MAX_VALUE_BYTES are
// skipped, and it ends on any error or after MAX_VARIABLES names, so a
// firmware that keeps returning the same name cannot hold us forever.
//
// An enumeration that a failure cut short (memory, or a variable service
// that failed other than by "not found" or "too large") leaves the
// environment incomplete. Then a name getenv does not find is looked for
// again by a fresh enumeration that only adds what is missing: one failed
// firmware call at load time must not hide TORVEL_PATH for the image's
// whole life, and texts already handed out stay valid.
#include "runtime/crt.h"
#include "runtime/owners.h"
#include "runtime/runtime_internal.h"
#include "runtime/runtime_state.h"
#include "runtime/variable_text.h"

namespace crt::detail {

struct EnvironmentEntry {
  EnvironmentEntry *Next;
  const char *Name;  // both point into the same allocation, after the entry
  const char *Value;
  bool FromShell;
};

namespace {

constexpr size_t INITIAL_NAME_UNITS = 128;
// Names of up to 2047 characters, the longest a setup variable may have.
constexpr size_t MAX_NAME_UNITS = 2048;
constexpr size_t MAX_VALUE_BYTES = 4096;
constexpr size_t MAX_VARIABLES = 16384;

constexpr EFI_GUID SHELL_VARIABLE_GUID = {
    0x158DEF5A, 0xF656, 0x419C, {0xB0, 0x27, 0x7A, 0x31, 0x92, 0xC0, 0x79, 0xD2}};

bool IsShellGuid(const EFI_GUID &Guid) { return memcmp(&Guid, &SHELL_VARIABLE_GUID, sizeof(EFI_GUID)) == 0; }

EnvironmentEntry **FindSlot(const char *Name) {
  EnvironmentEntry **Slot = &gRuntime.Environment;
  while (*Slot != nullptr && strcmp((*Slot)->Name, Name) != 0) Slot = &(*Slot)->Next;
  return Slot;
}

// Adds Name, or replaces a non-Shell entry by a Shell one unless KeepExisting.
[[nodiscard]] EFI_STATUS AddEntry(const char *Name, const char *Value, size_t ValueLength, bool FromShell,
                                  bool KeepExisting) {
  EnvironmentEntry **Slot = FindSlot(Name);
  EnvironmentEntry *Existing = *Slot;
  if (Existing != nullptr && (KeepExisting || Existing->FromShell || !FromShell)) return EFI_SUCCESS;

  size_t NameSize = strlen(Name) + 1;
  auto *Entry = static_cast<EnvironmentEntry *>(malloc(sizeof(EnvironmentEntry) + NameSize + ValueLength + 1));
  if (Entry == nullptr) return EFI_OUT_OF_RESOURCES;
  char *Text = reinterpret_cast<char *>(Entry + 1);
  memcpy(Text, Name, NameSize);
  memcpy(Text + NameSize, Value, ValueLength + 1);
  Entry->Name = Text;
  Entry->Value = Text + NameSize;
  Entry->FromShell = FromShell;
  // Same place in the list as the entry it replaces, else at the end.
  Entry->Next = Existing != nullptr ? Existing->Next : nullptr;
  *Slot = Entry;
  free(Existing);
  return EFI_SUCCESS;
}

// Working buffers for one enumeration, all on the heap.
struct Scratch {
  HeapPtr<CHAR16> Name;
  size_t NameUnits = 0;
  HeapPtr<UINT8> Data;
  HeapPtr<char> Text;
  HeapPtr<char> NarrowName;

  [[nodiscard]] bool Allocate() {
    Name.Reset(static_cast<CHAR16 *>(malloc(INITIAL_NAME_UNITS * sizeof(CHAR16))));
    NameUnits = INITIAL_NAME_UNITS;
    Data.Reset(static_cast<UINT8 *>(malloc(MAX_VALUE_BYTES)));
    Text.Reset(static_cast<char *>(malloc(MAX_VALUE_BYTES + 1)));
    NarrowName.Reset(static_cast<char *>(malloc(MAX_NAME_UNITS + 1)));
    return Name && Data && Text && NarrowName;
  }

  // Grows the name buffer to hold Bytes, keeping the current name: the
  // firmware needs it back to continue the enumeration.
  [[nodiscard]] bool GrowName(UINTN Bytes) {
    size_t Units = (Bytes + sizeof(CHAR16) - 1) / sizeof(CHAR16);
    if (Units <= NameUnits || Units > MAX_NAME_UNITS) return false;
    auto *Grown = static_cast<CHAR16 *>(malloc(Units * sizeof(CHAR16)));
    if (Grown == nullptr) return false;
    memcpy(Grown, Name.Get(), NameUnits * sizeof(CHAR16));
    Name.Reset(Grown);
    NameUnits = Units;
    return true;
  }
};

// Adds the variable just enumerated when it is text. EFI_SUCCESS (taken or
// skipped); EFI_OUT_OF_RESOURCES; Complete is cleared when its value could
// not be read for a reason other than its absence or its size.
[[nodiscard]] EFI_STATUS ConsiderVariable(EFI_RUNTIME_SERVICES *Services, Scratch &Work, EFI_GUID &Guid,
                                          bool KeepExisting, bool &Complete) {
  if (!NarrowVariableName(Work.Name.Get(), Work.NameUnits < MAX_NAME_UNITS ? Work.NameUnits : MAX_NAME_UNITS,
                          Work.NarrowName.Get())) {
    return EFI_SUCCESS;
  }
  UINTN DataSize = MAX_VALUE_BYTES;
  UINT32 Attributes = 0;
  EFI_STATUS Status = Services->GetVariable(Work.Name.Get(), &Guid, &Attributes, &DataSize, Work.Data.Get());
  if (Status != EFI_SUCCESS) {
    if (Status != EFI_NOT_FOUND && Status != EFI_BUFFER_TOO_SMALL) Complete = false;
    return EFI_SUCCESS;
  }
  if (DataSize > MAX_VALUE_BYTES) return EFI_SUCCESS;
  size_t Length = DecodeVariableText(Work.Data.Get(), DataSize, Work.Text.Get());
  if (Length == 0) return EFI_SUCCESS;
  return AddEntry(Work.NarrowName.Get(), Work.Text.Get(), Length, IsShellGuid(Guid), KeepExisting);
}

bool IsTerminated(const CHAR16 *Name, size_t Units) {
  for (size_t I = 0; I < Units; ++I) {
    if (Name[I] == 0) return true;
  }
  return false;
}

// One enumeration of the firmware's variables into the environment; see
// the file comment for KeepExisting. Sets gRuntime.EnvironmentComplete.
[[nodiscard]] EFI_STATUS Enumerate(bool KeepExisting) {
  gRuntime.EnvironmentComplete = false;
  EFI_RUNTIME_SERVICES *Services = RuntimeServices();
  if (Services == nullptr) return EFI_SUCCESS;
  Scratch Work;
  if (!Work.Allocate()) return EFI_OUT_OF_RESOURCES;

  Work.Name.Get()[0] = 0;
  EFI_GUID Guid = {};
  bool Complete = true;
  for (size_t Call = 0;; ++Call) {
    if (Call == MAX_VARIABLES) {
      Complete = false;
      break;
    }
    UINTN NameSize = Work.NameUnits * sizeof(CHAR16);
    EFI_STATUS Status = Services->GetNextVariableName(&NameSize, Work.Name.Get(), &Guid);
    if (Status == EFI_BUFFER_TOO_SMALL && Work.GrowName(NameSize)) continue;
    if (Status != EFI_SUCCESS || !IsTerminated(Work.Name.Get(), Work.NameUnits)) {
      // EFI_NOT_FOUND is the end of the list; anything else cut it short.
      Complete = Complete && Status == EFI_NOT_FOUND;
      break;
    }
    Status = ConsiderVariable(Services, Work, Guid, KeepExisting, Complete);
    if (EFI_ERROR(Status)) return Status;
  }
  gRuntime.EnvironmentComplete = Complete;
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS BuildEnvironment() {
  FreeEnvironment();
  return Enumerate(false);
}

void FreeEnvironment() {
  while (gRuntime.Environment != nullptr) {
    EnvironmentEntry *Entry = gRuntime.Environment;
    gRuntime.Environment = Entry->Next;
    free(Entry);
  }
}

}  // namespace crt::detail

namespace crt {

const char *getenv(const char *Name) {
  if (Name == nullptr) return nullptr;
  detail::EnvironmentEntry *Entry = *detail::FindSlot(Name);
  if (Entry == nullptr && !detail::gRuntime.EnvironmentComplete && detail::gRuntime.SystemTable != nullptr) {
    (void)detail::Enumerate(true);
    Entry = *detail::FindSlot(Name);
  }
  return Entry != nullptr ? Entry->Value : nullptr;
}

}  // namespace crt

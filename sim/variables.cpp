// UEFI variables: GetVariable, SetVariable, GetNextVariableName and
// QueryVariableInfo over an in-memory store kept in insertion order.
#include "sim/firmware_state.h"

#include <algorithm>
#include <cstring>

namespace sim {
namespace {

// Name and data together, like a firmware's maximum variable size.
constexpr size_t MAX_VARIABLE_BYTES = 64 * 1024;
// Caller strings have no size: a name is read up to the longest that fits a
// variable at all, and one that is not terminated by then is refused.
constexpr size_t MAX_NAME_UNITS = MAX_VARIABLE_BYTES / sizeof(CHAR16);
constexpr uint64_t STORE_BYTES = 1024 * 1024;

constexpr UINT32 KNOWN_ATTRIBUTES = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                    EFI_VARIABLE_RUNTIME_ACCESS | EFI_VARIABLE_HARDWARE_ERROR_RECORD |
                                    EFI_VARIABLE_AUTHENTICATED_WRITE_ACCESS |
                                    EFI_VARIABLE_TIME_BASED_AUTHENTICATED_WRITE_ACCESS | EFI_VARIABLE_APPEND_WRITE;
constexpr UINT32 UNSUPPORTED_ATTRIBUTES = EFI_VARIABLE_HARDWARE_ERROR_RECORD | EFI_VARIABLE_AUTHENTICATED_WRITE_ACCESS |
                                          EFI_VARIABLE_TIME_BASED_AUTHENTICATED_WRITE_ACCESS;

std::optional<std::u16string> ReadName(const CHAR16 *Name, size_t MaxUnits = MAX_NAME_UNITS) {
  std::u16string Text;
  for (size_t Index = 0; Index < MaxUnits; ++Index) {
    if (Name[Index] == 0) return Text;
    Text.push_back(static_cast<char16_t>(Name[Index]));
  }
  return std::nullopt;
}

std::vector<VariableRecord>::iterator Find(State &S, const std::u16string &Name, const EFI_GUID &Guid) {
  return std::find_if(S.Variables.begin(), S.Variables.end(),
                      [&](const VariableRecord &V) { return V.Name == Name && SameGuid(V.Guid, Guid); });
}

size_t StoredBytes(const State &S) {
  size_t Total = 0;
  for (const VariableRecord &V : S.Variables) Total += (V.Name.size() + 1) * 2 + V.Data.size();
  return Total;
}

EFI_STATUS EFIAPI GetVariable(CHAR16 *VariableName, EFI_GUID *VendorGuid, UINT32 *Attributes, UINTN *DataSize,
                              VOID *Data) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::GetVariable);
  if (Injected != EFI_SUCCESS) return Injected;
  if (VariableName == nullptr || VendorGuid == nullptr || DataSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Data == nullptr && *DataSize != 0) return EFI_INVALID_PARAMETER;
  const std::optional<std::u16string> Name = ReadName(VariableName);
  if (!Name) return EFI_INVALID_PARAMETER;
  auto It = Find(S, *Name, *VendorGuid);
  if (It == S.Variables.end()) return EFI_NOT_FOUND;
  // Attributes come back with EFI_BUFFER_TOO_SMALL as well (UEFI 2.8 and later).
  if (Attributes != nullptr) *Attributes = It->Attributes;
  const UINTN Available = *DataSize;
  *DataSize = It->Data.size();
  if (Available < It->Data.size()) return EFI_BUFFER_TOO_SMALL;
  if (!It->Data.empty()) std::memcpy(Data, It->Data.data(), It->Data.size());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetVariable(CHAR16 *VariableName, EFI_GUID *VendorGuid, UINT32 Attributes, UINTN DataSize,
                              VOID *Data) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::SetVariable);
  if (Injected != EFI_SUCCESS) return Injected;
  if (VariableName == nullptr || VendorGuid == nullptr || VariableName[0] == 0) return EFI_INVALID_PARAMETER;
  if (DataSize != 0 && Data == nullptr) return EFI_INVALID_PARAMETER;
  if ((Attributes & ~KNOWN_ATTRIBUTES) != 0) return EFI_INVALID_PARAMETER;
  if ((Attributes & EFI_VARIABLE_RUNTIME_ACCESS) != 0 && (Attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0)
    return EFI_INVALID_PARAMETER;
  if ((Attributes & UNSUPPORTED_ATTRIBUTES) != 0) return EFI_UNSUPPORTED;
  const std::optional<std::u16string> Name = ReadName(VariableName);
  if (!Name) return EFI_INVALID_PARAMETER;
  if ((Name->size() + 1) * 2 + DataSize > MAX_VARIABLE_BYTES) return EFI_INVALID_PARAMETER;

  const bool Append = (Attributes & EFI_VARIABLE_APPEND_WRITE) != 0;
  const UINT32 Stored = Attributes & ~EFI_VARIABLE_APPEND_WRITE;
  auto It = Find(S, *Name, *VendorGuid);
  const bool Deletes = Stored == 0 || (DataSize == 0 && !Append);
  if (Deletes) {
    if (It == S.Variables.end()) return EFI_NOT_FOUND;
    S.Variables.erase(It);
    return EFI_SUCCESS;
  }
  // An existing variable keeps its attributes; a write with others is refused.
  if (It != S.Variables.end() && It->Attributes != Stored) return EFI_INVALID_PARAMETER;
  const size_t OldBytes = It == S.Variables.end() ? 0 : It->Data.size();
  const size_t NewBytes = Append ? OldBytes + DataSize : DataSize;
  if ((Name->size() + 1) * 2 + NewBytes > MAX_VARIABLE_BYTES) return EFI_INVALID_PARAMETER;
  if (StoredBytes(S) - OldBytes + NewBytes > STORE_BYTES) return EFI_OUT_OF_RESOURCES;
  const auto *Bytes = static_cast<const uint8_t *>(Data);
  if (It == S.Variables.end()) {
    S.Variables.push_back(VariableRecord{*Name, *VendorGuid, Stored, std::vector<uint8_t>(Bytes, Bytes + DataSize)});
    return EFI_SUCCESS;
  }
  if (!Append) It->Data.clear();
  It->Data.insert(It->Data.end(), Bytes, Bytes + DataSize);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextVariableName(UINTN *VariableNameSize, CHAR16 *VariableName, EFI_GUID *VendorGuid) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::GetNextVariableName);
  if (Injected != EFI_SUCCESS) return Injected;
  if (VariableNameSize == nullptr || VariableName == nullptr || VendorGuid == nullptr) return EFI_INVALID_PARAMETER;
  // The name passed in must be terminated within the size passed in.
  const std::optional<std::u16string> Current = ReadName(VariableName, *VariableNameSize / sizeof(CHAR16));
  if (!Current) return EFI_INVALID_PARAMETER;
  auto Next = S.Variables.begin();
  if (!Current->empty()) {
    auto It = Find(S, *Current, *VendorGuid);
    if (It == S.Variables.end()) return EFI_INVALID_PARAMETER;
    Next = It + 1;
  }
  if (Next == S.Variables.end()) return EFI_NOT_FOUND;
  const UINTN Needed = (Next->Name.size() + 1) * sizeof(CHAR16);
  const UINTN Available = *VariableNameSize;
  *VariableNameSize = Needed;
  if (Available < Needed) return EFI_BUFFER_TOO_SMALL;
  std::memcpy(VariableName, Next->Name.data(), Next->Name.size() * sizeof(CHAR16));
  VariableName[Next->Name.size()] = 0;
  *VendorGuid = Next->Guid;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI QueryVariableInfo(UINT32 Attributes, UINT64 *MaximumStorage, UINT64 *RemainingStorage,
                                    UINT64 *MaximumVariableSize) {
  if (MaximumStorage == nullptr || RemainingStorage == nullptr || MaximumVariableSize == nullptr || Attributes == 0)
    return EFI_INVALID_PARAMETER;
  const State &S = ActiveState();
  *MaximumStorage = STORE_BYTES;
  *RemainingStorage = STORE_BYTES - StoredBytes(S);
  *MaximumVariableSize = MAX_VARIABLE_BYTES;
  return EFI_SUCCESS;
}

}  // namespace

void WireVariableServices(EFI_RUNTIME_SERVICES &Runtime) {
  Runtime.GetVariable = GetVariable;
  Runtime.SetVariable = SetVariable;
  Runtime.GetNextVariableName = GetNextVariableName;
  Runtime.QueryVariableInfo = QueryVariableInfo;
}

const EFI_GUID ShellVariableGuid = {0x158DEF5A, 0xF656, 0x419C, {0xB0, 0x27, 0x7A, 0x31, 0x92, 0xC0, 0x79, 0xD2}};

void Firmware::SetShellVariable(const std::u16string &Name, const std::u16string &Value) {
  std::vector<uint8_t> Data;
  for (char16_t C : Value) {
    Data.push_back(static_cast<uint8_t>(C));
    Data.push_back(static_cast<uint8_t>(C >> 8));
  }
  PutVariable(Name, ShellVariableGuid, EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, Data);
}

void Firmware::PutVariable(const std::u16string &Name, const EFI_GUID &Guid, UINT32 Attributes,
                           const std::vector<uint8_t> &Data) {
  auto It = Find(*S, Name, Guid);
  if (It == S->Variables.end()) {
    S->Variables.push_back(VariableRecord{Name, Guid, Attributes, Data});
    return;
  }
  It->Attributes = Attributes;
  It->Data = Data;
}

std::optional<VariableRecord> Firmware::FindVariable(const std::u16string &Name, const EFI_GUID &Guid) const {
  auto It = Find(*S, Name, Guid);
  if (It == S->Variables.end()) return std::nullopt;
  return *It;
}

std::vector<VariableRecord> Firmware::Variables() const { return S->Variables; }

void Firmware::ClearVariables() { S->Variables.clear(); }

}  // namespace sim

#include "hiiprovider/variable_seeding.h"

#include "hiiprovider/console.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "variablefile/variable_reader.h"

namespace hiiprovider {

namespace {

constexpr size_t DESCRIPTION_CHARS = 160;

struct Seeding {
  EFI_RUNTIME_SERVICES *Runtime;
  SeedCounts *Counts;
};

// What formats the name, the GUID and up to two numbers.
void SayAbout(const variablefile::StoreVariable &V, const CHAR16 *What, UINTN First, UINTN Second = 0) {
  CHAR16 Guid[GUID_TEXT_UNITS];
  FormatGuid(V.Guid, Guid);
  Say(What, V.Name, Guid, static_cast<unsigned long>(First), static_cast<unsigned long>(Second));
}

// Creates one variable unless the firmware has it.
void SeedOne(void *Context, const variablefile::StoreVariable &V) {
  Seeding &S = *static_cast<Seeding *>(Context);
  CHAR16 *Name = const_cast<CHAR16 *>(V.Name);  // firmware takes names as non-const
  EFI_GUID Guid = V.Guid;
  UINT32 Attributes = 0;
  UINTN Size = 0;
  EFI_STATUS Status = S.Runtime->GetVariable(Name, &Guid, &Attributes, &Size, nullptr);
  if (Status == EFI_BUFFER_TOO_SMALL || Status == EFI_SUCCESS) {
    ++S.Counts->Kept;
    if (Size == V.DataSize) return;
    ++S.Counts->Resized;
    SayAbout(V, W(u"kept %ls %ls: it holds %lu bytes where the platform has %lu (dmpstore -d removes it)"), Size,
             V.DataSize);
    return;
  }
  if (Status != EFI_NOT_FOUND) {
    ++S.Counts->Failed;
    SayAbout(V, W(u"cannot read %ls %ls: status 0x%lx"), Status);
    return;
  }
  if (V.DataSize == 0) {  // UEFI holds no empty variables: SetVariable would delete
    ++S.Counts->Failed;
    SayAbout(V, W(u"cannot create %ls %ls: the text gives it no data"), 0);
    return;
  }
  Status = S.Runtime->SetVariable(Name, &Guid, CreationAttributes(V.Attributes), V.DataSize,
                                  const_cast<UINT8 *>(V.Data));
  if (Status != EFI_SUCCESS) {
    ++S.Counts->Failed;
    SayAbout(V, W(u"cannot create %ls %ls: status 0x%lx"), Status);
    return;
  }
  ++S.Counts->Created;
}

}  // namespace

UINT32 CreationAttributes(UINT32 FromText) {
  return (FromText & EFI_VARIABLE_RUNTIME_ACCESS) | EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
}

EFI_STATUS SeedVariables(const char *Text, size_t Length, const char *Origin, SeedCounts &Counts) {
  using namespace variablefile;
  Counts = SeedCounts{};
  crt::HeapPtr<CHAR16> Name(static_cast<CHAR16 *>(crt::malloc((VARIABLE_STORE_MAX_NAME + 1) * sizeof(CHAR16))));
  crt::HeapPtr<UINT8> Data(static_cast<UINT8 *>(crt::malloc(VARIABLE_STORE_MAX_DATA)));
  if (!Name || !Data) return EFI_OUT_OF_RESOURCES;
  const VariableStoreBuffers Buffers{Name.Get(), VARIABLE_STORE_MAX_NAME + 1, Data.Get(), VARIABLE_STORE_MAX_DATA};

  const VariableStoreResult Checked = ReadVariableStore(Text, Length, Buffers, nullptr, nullptr);
  if (Checked.Error != VariableStoreError::None) {
    char Reason[DESCRIPTION_CHARS];
    DescribeVariableStoreError(Checked, Reason, sizeof Reason);
    Say(W(u"%hs: %hs"), Origin, Reason);
    return EFI_LOAD_ERROR;
  }
  Seeding S{crt::SystemTable()->RuntimeServices, &Counts};
  (void)ReadVariableStore(Text, Length, Buffers, SeedOne, &S);
  return EFI_SUCCESS;
}

}  // namespace hiiprovider

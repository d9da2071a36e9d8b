#include "hiicompat/framework_table.h"

#include "hiibuild/export_encoder.h"
#include "hiicompat/compat_state.h"
#include "hiibuild/pack_encoder.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace hiicompat {

namespace {

constexpr UINT32 STRING_IDS = 0x10000;
constexpr CHAR16 NO_STORAGE_NAME[] = {'N', 'o', 'S', 't', 'o', 'r', 'a', 'g', 'e', 0};
constexpr CHAR16 EMPTY_TEXT[] = {0};
constexpr CHAR16 ENGLISH[] = {'e', 'n', 'g'};
constexpr CHAR16 ENGLISH_NAME[] = {'E', 'n', 'g', 'l', 'i', 's', 'h'};
// The driver reads a variable into 4096 bytes: larger stores have no values.
constexpr UINT32 MAX_STORE_BYTES = 4096;
constexpr UINT32 MAX_NAME_BYTES = 256;

void *HeapAllocate(void *, size_t Bytes) { return crt::malloc(Bytes); }
void HeapFree(void *, void *Block) { crt::free(Block); }

EFI_STATUS StatusOf(hiibuild::BuildStatus Status) {
  switch (Status) {
    case hiibuild::BuildStatus::Success: return EFI_SUCCESS;
    case hiibuild::BuildStatus::OutOfMemory: return EFI_OUT_OF_RESOURCES;
    case hiibuild::BuildStatus::TooLong: return EFI_BAD_BUFFER_SIZE;
    default: return EFI_INVALID_PARAMETER;
  }
}

}  // namespace

hiibuild::Allocator HeapAllocator() { return hiibuild::Allocator{HeapAllocate, HeapFree, nullptr}; }

FrameworkTable::FrameworkTable(const hiibuild::Allocator &Memory, const TableSources &Sources)
    : Memory(Memory), Sources(Sources), Code(Memory), Encoder(Code), Variables(Memory) {
  TokenOf = static_cast<UINT16 *>(crt::calloc(STRING_IDS, sizeof(UINT16)));
  if (TokenOf == nullptr) Failed = true;
}

FrameworkTable::~FrameworkTable() {
  for (UINT32 Token = 0; Token < TokenCount; ++Token) crt::free(Texts[Token]);
  crt::free(Texts);
  crt::free(Lengths);
  crt::free(TokenOf);
}

UINT16 FrameworkTable::Token(UINT16 StringId) {
  if (StringId == 0 || Failed || Sources.Strings == nullptr) return 0;
  if (TokenOf[StringId] != 0) return TokenOf[StringId];
  UINT32 Length = 0;
  crt::HeapPtr<CHAR16> Text(Sources.Strings->Copy(StringId, Length));
  if (!Text) return 0;
  // Token 0 is the empty text; the first string gets token 1.
  const UINT32 Next = TokenCount == 0 ? 1 : TokenCount;
  if (Next == 0xFFFF) return 0;
  if (Next >= TokenCapacity) {
    const UINT32 Grown = TokenCapacity == 0 ? 64 : TokenCapacity * 2;
    auto **MoreTexts = static_cast<CHAR16 **>(crt::realloc(Texts, Grown * sizeof(CHAR16 *)));
    if (MoreTexts != nullptr) Texts = MoreTexts;
    auto *MoreLengths = static_cast<UINT32 *>(crt::realloc(Lengths, Grown * sizeof(UINT32)));
    if (MoreLengths != nullptr) Lengths = MoreLengths;
    if (MoreTexts == nullptr || MoreLengths == nullptr) {
      Failed = true;
      return 0;
    }
    TokenCapacity = Grown;
  }
  Texts[0] = nullptr;
  Lengths[0] = 0;
  Texts[Next] = Text.Release();
  Lengths[Next] = Length;
  TokenCount = Next + 1;
  TokenOf[StringId] = static_cast<UINT16>(Next);
  return static_cast<UINT16>(Next);
}

UINT16 FrameworkTable::AddPack(UINT16 UefiStore, const EFI_GUID &Guid, const CHAR16 *Name, UINT32 Length) {
  const UINT64 Start = Variables.Size();
  const UINT16 Id = static_cast<UINT16>(PackCount + 1);
  const hiibuild::BuildStatus Status =
      hiibuild::WriteVariablePack(Variables, Guid, Id, hiibuild::WideText{Name, Length});
  if (Status != hiibuild::BuildStatus::Success) {
    Failed = true;
    return 0;
  }
  Packs[PackCount++] = Pack{UefiStore, Start, Variables.Size() - Start};
  return Id;
}

UINT16 FrameworkTable::StoreId(const StoreInfo &Store, LeftOut &Why) {
  for (UINT32 Index = 0; Index < PackCount; ++Index)
    if (Packs[Index].UefiStore == Store.Id) return static_cast<UINT16>(Index + 1);
  switch (Store.Kind) {
    case StoreKind::NameValue: Why = LeftOut::NameValue; return 0;
    case StoreKind::EfiNoName: Why = LeftOut::NoVariableName; return 0;
    default: break;
  }
  if (Store.Size > MAX_STORE_BYTES || Store.NameLength > MAX_NAME_BYTES) {
    Why = LeftOut::LargeStore;
    return 0;
  }
  if (PackCount == MAX_TABLE_STORES) {
    Why = LeftOut::ManyStores;
    return 0;
  }
  const UINT8 *AsciiName = Sources.Ifr.Data + Store.NameOffset;
  if (Store.Kind == StoreKind::Efi) {
    CHAR16 Name[MAX_NAME_BYTES];
    for (UINT32 Index = 0; Index < Store.NameLength; ++Index) Name[Index] = AsciiName[Index];
    return AddPack(Store.Id, Store.Guid, Name, Store.NameLength);
  }
  if (gCompat.Routing == nullptr) {
    Why = LeftOut::NoRouting;
    return 0;
  }
  if (Sources.DevicePath.Size == 0) {
    Why = LeftOut::NoDevicePath;
    return 0;
  }
  const CHAR16 *Variable = Sources.Bridged->Add(Store.Guid, AsciiName, Store.NameLength, Sources.DevicePath.Data,
                                                static_cast<UINT32>(Sources.DevicePath.Size), Store.Size);
  if (Variable == nullptr) {
    Failed = true;
    return 0;
  }
  return AddPack(Store.Id, gHiiCompatBridgeGuid, Variable, static_cast<UINT32>(crt::wcslen(Variable)));
}

UINT16 FrameworkTable::NoStorageId() {
  for (UINT32 Index = 0; Index < PackCount; ++Index)
    if (Packs[Index].UefiStore == 0) return static_cast<UINT16>(Index + 1);
  if (PackCount == MAX_TABLE_STORES) return 0;
  return AddPack(0, gHiiCompatBridgeGuid, NO_STORAGE_NAME, sizeof(NO_STORAGE_NAME) / sizeof(CHAR16) - 1);
}

void FrameworkTable::Select(UINT16 Id) {
  if (Id == 0 || Id == Selected) return;
  Check(Encoder.VarStoreSelect(Id));
  Selected = Id;
}

EFI_STATUS FrameworkTable::Write(hiibuild::ByteBuffer &Out, UINT16 Handle, const EFI_GUID &Guid) {
  if (Failed) return EFI_OUT_OF_RESOURCES;
  // Every token's text, the empty one at 0.
  const UINT32 Count = TokenCount == 0 ? 1 : TokenCount;
  crt::HeapPtr<hiibuild::WideText> Strings(
      static_cast<hiibuild::WideText *>(crt::malloc(Count * sizeof(hiibuild::WideText))));
  if (!Strings) return EFI_OUT_OF_RESOURCES;
  Strings.Get()[0] = hiibuild::WideText{EMPTY_TEXT, 0};
  for (UINT32 Token = 1; Token < Count; ++Token) Strings.Get()[Token] = hiibuild::WideText{Texts[Token], Lengths[Token]};
  hiibuild::ByteBuffer StringPack(Memory);
  const hiibuild::StringPackParts Spec{hiibuild::WideText{ENGLISH, 3}, hiibuild::WideText{ENGLISH_NAME, 7},
                                      Strings.Get(), Count};
  hiibuild::BuildStatus Status = hiibuild::WriteStringPack(StringPack, Spec);
  if (Status != hiibuild::BuildStatus::Success) return StatusOf(Status);

  hiibuild::ByteSpan PackSpans[MAX_TABLE_STORES];
  for (UINT32 Index = 0; Index < PackCount; ++Index)
    PackSpans[Index] = hiibuild::ByteSpan{Variables.Data() + Packs[Index].Offset, static_cast<size_t>(Packs[Index].Size)};
  const hiibuild::ByteSpan StringSpan = StringPack.Span();
  hiibuild::DataTableParts Parts{};
  Parts.HiiHandle = Handle;
  Parts.PackageGuid = Guid;
  Parts.VariablePacks = PackSpans;
  Parts.VariablePackCount = PackCount;
  Parts.HasIfr = true;
  Parts.IfrCode = Code.Span();
  Parts.StringPacks = &StringSpan;
  Parts.StringPackCount = 1;
  Parts.Order = hiibuild::PackOrder::VariablesIfrStrings;
  return StatusOf(hiibuild::WriteDataTable(Out, Parts));
}

}  // namespace hiicompat

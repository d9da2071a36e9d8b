#include "hiicompat/framework_export.h"

#include "hiibuild/export_encoder.h"
#include "hiicompat/compat_state.h"
#include "hiicompat/framework_table.h"
#include "hiicompat/ifr_translator.h"
#include "hiicompat/package_lists.h"
#include "uefi/uefi_ifr.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_TABLES = 0xFFFF;
constexpr UINTN MAX_EXPORT_ATTEMPTS = 4;
constexpr UINTN MAX_LANGUAGE = 64;
constinit EFI_GUID GlobalVariableGuid = EFI_GLOBAL_VARIABLE;

// Where each table lies in the buffer of tables.
struct TableSpans {
  hiibuild::ByteSpan *Items = nullptr;
  UINT32 Count = 0;
  UINT32 Capacity = 0;
  ~TableSpans() { crt::free(Items); }
  bool Add(UINT64 Offset, UINT64 Size) {
    if (Count == MAX_TABLES) return false;
    if (Count == Capacity) {
      const UINT32 Grown = Capacity == 0 ? 16 : Capacity * 2;
      auto *More = static_cast<hiibuild::ByteSpan *>(crt::realloc(Items, Grown * sizeof(hiibuild::ByteSpan)));
      if (More == nullptr) return false;
      Items = More;
      Capacity = Grown;
    }
    // Offsets for now: the buffer may move until every table is written.
    Items[Count++] = hiibuild::ByteSpan{reinterpret_cast<const UINT8 *>(Offset), static_cast<size_t>(Size)};
    return true;
  }
};

struct Work {
  const char *PlatformLang;
  FrameworkExport &Out;
  hiibuild::ByteBuffer &Tables;
  TableSpans &Spans;
  EFI_STATUS Status = EFI_SUCCESS;
};

void TranslateFormSetAt(Work &W, ByteView Ifr, UINT64 Start, UINT64 End, const StringTable &Strings,
                        ByteView DevicePath) {
  FormSetModel Model;
  if (!Model.Scan(Ifr, Start, End)) {
    W.Status = EFI_OUT_OF_RESOURCES;
    return;
  }
  StoreValues Values(Model, Ifr, DevicePath);
  const TableSources Sources{Ifr, &Strings, DevicePath, &W.Out.Stores};
  FrameworkTable Table(HeapAllocator(), Sources);
  const FormSetSource Source{Ifr, Start, End, &Model, &Values};
  TranslateFormSet(Source, Table, W.Out.Counts);
  EFI_GUID Guid;
  Ifr.Guid(Start + 2, Guid);
  const UINT64 Before = W.Tables.Size();
  const EFI_STATUS Status = Table.Write(W.Tables, static_cast<UINT16>(W.Spans.Count + 1), Guid);
  if (Status != EFI_SUCCESS) {
    W.Status = Status;
    return;
  }
  if (!W.Spans.Add(Before, W.Tables.Size() - Before)) W.Status = EFI_BAD_BUFFER_SIZE;
}

void TranslateFormPackage(Work &W, ByteView Package, const StringTable &Strings, ByteView DevicePath) {
  const ByteView Ifr = Package.Part(EFI_HII_PACKAGE_HEADER_SIZE, Package.Size - EFI_HII_PACKAGE_HEADER_SIZE);
  IfrWalk Walk(Ifr);
  IfrOp Op{};
  while (W.Status == EFI_SUCCESS && Walk.Peek(Op)) {
    const UINT64 End = ScopeEnd(Ifr, Op.Offset);
    if (End <= Op.Offset) return;  // malformed: the walk cannot go on
    if (Op.Code == EFI_IFR_FORM_SET_OP && Op.Scope && Op.Length >= sizeof(EFI_IFR_FORM_SET))
      TranslateFormSetAt(W, Ifr, Op.Offset, End, Strings, DevicePath);
    Walk.MoveTo(End);
  }
}

void TranslateList(Work &W, const PackageListView &List) {
  StringTable Strings;
  if (!Strings.Load(ChooseStringPackage(List.Bytes, W.PlatformLang))) {
    W.Status = EFI_OUT_OF_RESOURCES;
    return;
  }
  PackageWalk Packages(List.Bytes);
  ByteView Package;
  UINT8 Type = 0;
  while (W.Status == EFI_SUCCESS && Packages.Next(Package, Type))
    if (Type == EFI_HII_PACKAGE_FORMS) TranslateFormPackage(W, Package, Strings, List.DevicePath);
}

// The platform's language ("en-US"), from the firmware's own variable.
void ReadPlatformLang(char (&Out)[MAX_LANGUAGE]) {
  Out[0] = 0;
  EFI_GET_VARIABLE Get =
      gCompat.VariablesWrapped ? gCompat.OriginalGetVariable : crt::SystemTable()->RuntimeServices->GetVariable;
  CHAR16 Name[] = {'P', 'l', 'a', 't', 'f', 'o', 'r', 'm', 'L', 'a', 'n', 'g', 0};
  UINTN Size = MAX_LANGUAGE - 1;
  if (Get(Name, &GlobalVariableGuid, nullptr, &Size, Out) != EFI_SUCCESS || Size >= MAX_LANGUAGE) {
    Out[0] = 0;
    return;
  }
  Out[Size] = 0;
}

}  // namespace

void FrameworkExport::Release() {
  crt::free(Bytes);
  Bytes = nullptr;
  Size = 0;
  Stores.Clear();
}

EFI_STATUS TranslateDatabase(const UINT8 *UefiExport, UINTN UefiSize, const char *PlatformLang, FrameworkExport &Out) {
  Out.Bytes = nullptr;
  Out.Size = 0;
  Out.Counts = TranslationCounts{};
  hiibuild::ByteBuffer Tables(HeapAllocator());
  TableSpans Spans;
  Work W{PlatformLang, Out, Tables, Spans};
  PackageListWalk Lists(ByteView{UefiExport, UefiExport == nullptr ? 0 : UefiSize});
  PackageListView List{};
  while (W.Status == EFI_SUCCESS && Lists.Next(List)) TranslateList(W, List);
  if (W.Status != EFI_SUCCESS) return W.Status;

  for (UINT32 Index = 0; Index < Spans.Count; ++Index)
    Spans.Items[Index].Data = Tables.Data() + reinterpret_cast<UINTN>(Spans.Items[Index].Data);
  hiibuild::ByteBuffer Whole(HeapAllocator());
  const hiibuild::BuildStatus Status =
      hiibuild::WriteExport(Whole, hiibuild::ExportHeaderStyle::Classic, Spans.Items, Spans.Count);
  if (Status == hiibuild::BuildStatus::OutOfMemory) return EFI_OUT_OF_RESOURCES;
  if (Status != hiibuild::BuildStatus::Success) return EFI_BAD_BUFFER_SIZE;
  Out.Size = Whole.Size();
  Out.Bytes = Whole.Release();
  return EFI_SUCCESS;
}

EFI_STATUS BuildFrameworkExport(FrameworkExport &Out) {
  EFI_HII_DATABASE_PROTOCOL *Database = gCompat.Database;
  if (Database == nullptr) return EFI_NOT_READY;
  crt::HeapPtr<UINT8> Uefi;
  UINTN Size = 0;
  EFI_STATUS Status = EFI_BUFFER_TOO_SMALL;
  // The database may grow between the two calls: measure again then.
  for (UINTN Attempt = 0; Attempt < MAX_EXPORT_ATTEMPTS && Status == EFI_BUFFER_TOO_SMALL; ++Attempt) {
    Uefi.Reset(Size == 0 ? nullptr : static_cast<UINT8 *>(crt::malloc(Size)));
    if (Size != 0 && !Uefi) return EFI_OUT_OF_RESOURCES;
    Status = Database->ExportPackageLists(Database, nullptr, &Size,
                                          reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Uefi.Get()));
  }
  if (Status == EFI_NOT_FOUND) Size = 0;  // an empty database: an export with no tables
  else if (Status != EFI_SUCCESS) return Status;
  char Language[MAX_LANGUAGE];
  ReadPlatformLang(Language);
  return TranslateDatabase(Uefi.Get(), Size, Language[0] != 0 ? Language : nullptr, Out);
}

}  // namespace hiicompat

#include "sim/ifr_scan.h"

#include "uefi/uefi_ifr.h"

#include <cstring>

namespace sim {
namespace {

uint16_t Le16(const uint8_t *P) { return static_cast<uint16_t>(P[0] | P[1] << 8); }

uint64_t LeN(const uint8_t *P, unsigned Size) {
  uint64_t Value = 0;
  for (unsigned Index = 0; Index < Size; ++Index) Value |= static_cast<uint64_t>(P[Index]) << (8 * Index);
  return Value;
}

unsigned NumericSize(uint8_t Flags) { return 1u << (Flags & EFI_IFR_NUMERIC_SIZE); }

// Calls Visit(Package, Length) for every package of Type inside the list.
template <class Visitor>
void ForEachPackage(const uint8_t *List, size_t Size, uint8_t Type, Visitor Visit) {
  if (Size < sizeof(EFI_HII_PACKAGE_LIST_HEADER)) return;
  size_t At = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
  while (At + EFI_HII_PACKAGE_HEADER_SIZE <= Size) {
    const uint32_t Length = HiiPackageLengthAt(List + At);
    const uint8_t PackageType = HiiPackageTypeAt(List + At);
    if (Length < EFI_HII_PACKAGE_HEADER_SIZE || Length > Size - At || PackageType == EFI_HII_PACKAGE_END) return;
    if (PackageType == Type) Visit(List + At, Length);
    At += Length;
  }
}

// The question whose scope is open (its options and defaults follow).
struct OpenQuestion {
  bool Active = false;
  size_t Store = 0;  // index: the store list may grow meanwhile
  size_t Field = 0;
  int Depth = 0;  // the scope depth inside the question
};

void ScanForms(const uint8_t *Package, size_t Length, std::vector<ScannedStore> &Stores) {
  OpenQuestion Open;
  int Depth = 0;
  auto StoreById = [&](uint16_t Id) -> ScannedStore * {
    for (ScannedStore &Store : Stores)
      if (Store.Id == Id) return &Store;
    return nullptr;
  };
  auto OpenField = [&]() -> ScannedField & { return Stores[Open.Store].Fields[Open.Field]; };
  for (size_t At = EFI_HII_PACKAGE_HEADER_SIZE; At + 2 <= Length;) {
    const uint8_t *Op = Package + At;
    const uint8_t OpLength = IfrOpLength(Op);
    if (OpLength < 2 || OpLength > Length - At) return;
    const uint8_t Code = Op[0];
    if (Code == EFI_IFR_VARSTORE_OP && OpLength >= sizeof(EFI_IFR_VARSTORE)) {
      ScannedStore Store;
      std::memcpy(&Store.Guid, Op + 2, sizeof(EFI_GUID));
      Store.Id = Le16(Op + offsetof(EFI_IFR_VARSTORE, VarStoreId));
      Store.Size = Le16(Op + offsetof(EFI_IFR_VARSTORE, Size));
      for (size_t Name = sizeof(EFI_IFR_VARSTORE); Name < OpLength && Op[Name] != 0; ++Name)
        Store.Name.push_back(static_cast<char16_t>(Op[Name]));
      Stores.push_back(Store);
    } else if ((Code == EFI_IFR_ONE_OF_OP || Code == EFI_IFR_NUMERIC_OP || Code == EFI_IFR_CHECKBOX_OP) &&
               OpLength >= sizeof(EFI_IFR_CHECKBOX)) {
      const uint8_t *Q = Op + EFI_IFR_QUESTION_OFFSET;
      ScannedStore *Store = StoreById(Le16(Q + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreId)));
      if (Store != nullptr) {
        ScannedField Field;
        Field.Offset = Le16(Q + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreInfo));
        const uint8_t Flags = Op[sizeof(EFI_IFR_CHECKBOX) - 1];
        Field.Width = static_cast<uint16_t>(Code == EFI_IFR_CHECKBOX_OP ? 1 : NumericSize(Flags));
        if (Code == EFI_IFR_CHECKBOX_OP) Field.Default = (Flags & 0x01) != 0 ? 1 : 0;
        Store->Fields.push_back(Field);
        if (IfrOpOpensScope(Op))
          Open = OpenQuestion{true, static_cast<size_t>(Store - Stores.data()), Store->Fields.size() - 1, Depth + 1};
      }
    } else if (Code == EFI_IFR_ONE_OF_OPTION_OP && Open.Active && OpLength >= sizeof(EFI_IFR_ONE_OF_OPTION_HEAD)) {
      const uint8_t Flags = Op[offsetof(EFI_IFR_ONE_OF_OPTION_HEAD, Flags)];
      ScannedField &Field = OpenField();
      const unsigned Width = Field.Width <= 8 ? Field.Width : 8;
      if ((Flags & EFI_IFR_OPTION_DEFAULT) != 0 && OpLength >= sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) + Width)
        Field.Default = LeN(Op + sizeof(EFI_IFR_ONE_OF_OPTION_HEAD), Width);
    } else if (Code == EFI_IFR_DEFAULT_OP && Open.Active && OpLength >= sizeof(EFI_IFR_DEFAULT_HEAD)) {
      ScannedField &Field = OpenField();
      const unsigned Width = Field.Width <= 8 ? Field.Width : 8;
      if (Le16(Op + offsetof(EFI_IFR_DEFAULT_HEAD, DefaultId)) == 0 &&
          OpLength >= sizeof(EFI_IFR_DEFAULT_HEAD) + Width)
        Field.Default = LeN(Op + sizeof(EFI_IFR_DEFAULT_HEAD), Width);
    }
    if (IfrOpOpensScope(Op)) ++Depth;
    if (Code == EFI_IFR_END_OP) {
      if (Open.Active && Depth == Open.Depth) Open.Active = false;
      if (Depth > 0) --Depth;
    }
    At += OpLength;
  }
}

}  // namespace

std::vector<ScannedStore> ScanBufferStores(const uint8_t *List, size_t Size) {
  std::vector<ScannedStore> Stores;
  ForEachPackage(List, Size, EFI_HII_PACKAGE_FORMS,
                 [&](const uint8_t *Package, size_t Length) { ScanForms(Package, Length, Stores); });
  return Stores;
}

std::optional<std::vector<uint8_t>> PackageListDevicePath(const uint8_t *List, size_t Size) {
  std::optional<std::vector<uint8_t>> Path;
  ForEachPackage(List, Size, EFI_HII_PACKAGE_DEVICE_PATH, [&](const uint8_t *Package, size_t Length) {
    if (!Path) Path = std::vector<uint8_t>(Package + EFI_HII_PACKAGE_HEADER_SIZE, Package + Length);
  });
  return Path;
}

}  // namespace sim

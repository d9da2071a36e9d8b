#include "hiicompat/form_model.h"

#include "runtime/crt.h"
#include "uefi/uefi_ifr.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_ITEMS = 0x10000;
constexpr UINT64 QUESTION_END = EFI_IFR_QUESTION_OFFSET + sizeof(EFI_IFR_QUESTION_HEADER);

bool ShapeOf(UINT8 Code, QuestionShape &Shape) {
  switch (Code) {
    case EFI_IFR_ONE_OF_OP: Shape = QuestionShape::OneOf; return true;
    case EFI_IFR_CHECKBOX_OP: Shape = QuestionShape::CheckBox; return true;
    case EFI_IFR_NUMERIC_OP: Shape = QuestionShape::Numeric; return true;
    case EFI_IFR_STRING_OP: Shape = QuestionShape::String; return true;
    case EFI_IFR_PASSWORD_OP: Shape = QuestionShape::Password; return true;
    case EFI_IFR_DATE_OP: Shape = QuestionShape::Date; return true;
    case EFI_IFR_TIME_OP: Shape = QuestionShape::Time; return true;
    case EFI_IFR_ORDERED_LIST_OP: Shape = QuestionShape::OrderedList; return true;
    case EFI_IFR_ACTION_OP: Shape = QuestionShape::Action; return true;
    case EFI_IFR_REF_OP: Shape = QuestionShape::Ref; return true;
    default: return false;
  }
}

// Bytes of storage the question takes, from what follows its header.
UINT8 WidthOf(ByteView Ifr, const IfrOp &Op, QuestionShape Shape) {
  const UINT64 Rest = Op.Offset + QUESTION_END;
  switch (Shape) {
    case QuestionShape::OneOf:
    case QuestionShape::Numeric:
      if (Op.Length <= QUESTION_END) return 0;
      return static_cast<UINT8>(1u << (Ifr.U8(Rest) & EFI_IFR_NUMERIC_SIZE));
    case QuestionShape::CheckBox: return 1;
    case QuestionShape::Date: return 4;
    case QuestionShape::Time: return 3;
    case QuestionShape::String:  // MinSize, MaxSize in characters
      return Op.Length > QUESTION_END + 1 ? static_cast<UINT8>(Ifr.U8(Rest + 1) > 127 ? 0 : 2 * Ifr.U8(Rest + 1)) : 0;
    default: return 0;
  }
}

}  // namespace

UINT64 ScopeEnd(ByteView Ifr, UINT64 Offset) {
  IfrWalk Walk(Ifr, Offset);
  IfrOp Op{};
  if (!Walk.Next(Op)) return Offset;
  if (!Op.Scope) return Walk.Position();
  UINT32 Depth = 1;
  while (Depth > 0 && Walk.Next(Op)) {
    if (Op.Code == EFI_IFR_END_OP) {
      --Depth;
    } else if (Op.Scope) {
      ++Depth;
    }
  }
  return Walk.Position();
}

template <class T> bool FormSetModel::List<T>::Add(const T &Item) {
  if (Count == MAX_ITEMS) return true;  // beyond any real form set: ignored
  if (Count == Capacity) {
    const UINT32 Grown = Capacity == 0 ? 32 : Capacity * 2;
    auto *More = static_cast<T *>(crt::realloc(Items, Grown * sizeof(T)));
    if (More == nullptr) return false;
    Items = More;
    Capacity = Grown;
  }
  Items[Count++] = Item;
  return true;
}

template <class T> void FormSetModel::List<T>::Release() {
  crt::free(Items);
  Items = nullptr;
  Count = 0;
  Capacity = 0;
}

FormSetModel::~FormSetModel() {
  Stores.Release();
  Questions.Release();
}

void FormSetModel::AddStore(ByteView Ifr, const IfrOp &Op, bool &Ok) {
  StoreInfo Info{};
  UINT64 NameAt = 0;
  switch (Op.Code) {
    case EFI_IFR_VARSTORE_OP:
      if (Op.Length < sizeof(EFI_IFR_VARSTORE)) return;
      Info.Kind = StoreKind::Buffer;
      Ifr.Guid(Op.Offset + offsetof(EFI_IFR_VARSTORE, Guid), Info.Guid);
      Info.Id = Ifr.U16(Op.Offset + offsetof(EFI_IFR_VARSTORE, VarStoreId));
      Info.Size = Ifr.U16(Op.Offset + offsetof(EFI_IFR_VARSTORE, Size));
      NameAt = sizeof(EFI_IFR_VARSTORE);
      break;
    case EFI_IFR_VARSTORE_EFI_OP:
      if (Op.Length < EFI_IFR_VARSTORE_EFI_2_1_SIZE) return;
      Info.Kind = Op.Length > sizeof(EFI_IFR_VARSTORE_EFI) ? StoreKind::Efi : StoreKind::EfiNoName;
      Info.Id = Ifr.U16(Op.Offset + offsetof(EFI_IFR_VARSTORE_EFI, VarStoreId));
      Ifr.Guid(Op.Offset + offsetof(EFI_IFR_VARSTORE_EFI, Guid), Info.Guid);
      Info.Attributes = Ifr.U32(Op.Offset + offsetof(EFI_IFR_VARSTORE_EFI, Attributes));
      if (Info.Kind == StoreKind::Efi) Info.Size = Ifr.U16(Op.Offset + offsetof(EFI_IFR_VARSTORE_EFI, Size));
      NameAt = sizeof(EFI_IFR_VARSTORE_EFI);
      break;
    case EFI_IFR_VARSTORE_NAME_VALUE_OP:
      if (Op.Length < sizeof(EFI_IFR_VARSTORE_NAME_VALUE)) return;
      Info.Kind = StoreKind::NameValue;
      Info.Id = Ifr.U16(Op.Offset + offsetof(EFI_IFR_VARSTORE_NAME_VALUE, VarStoreId));
      Ifr.Guid(Op.Offset + offsetof(EFI_IFR_VARSTORE_NAME_VALUE, Guid), Info.Guid);
      break;
    default: return;
  }
  if (NameAt != 0) {
    // The name runs to its NUL inside the opcode; without one it is no name.
    Info.NameOffset = Op.Offset + NameAt;
    UINT64 At = NameAt;
    while (At < Op.Length && Ifr.U8(Op.Offset + At) != 0) ++At;
    if (At == Op.Length) {
      if (Info.Kind == StoreKind::Efi) Info.Kind = StoreKind::EfiNoName;
      Info.NameLength = 0;
    } else {
      Info.NameLength = static_cast<UINT32>(At - NameAt);
    }
    if (Info.Kind == StoreKind::Efi && Info.NameLength == 0) Info.Kind = StoreKind::EfiNoName;
  }
  if (Info.Id == 0 || Store(Info.Id) != nullptr) return;  // id 0 means no storage
  if (!Stores.Add(Info)) Ok = false;
}

void FormSetModel::AddQuestion(ByteView Ifr, const IfrOp &Op, bool BitField, bool &Ok) {
  QuestionInfo Info{};
  if (!ShapeOf(Op.Code, Info.Shape) || Op.Length < QUESTION_END) return;
  const UINT64 Header = Op.Offset + EFI_IFR_QUESTION_OFFSET;
  Info.Id = Ifr.U16(Header + offsetof(EFI_IFR_QUESTION_HEADER, QuestionId));
  Info.VarStoreId = Ifr.U16(Header + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreId));
  Info.Offset = Ifr.U16(Header + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreInfo));
  Info.Flags = Ifr.U8(Header + offsetof(EFI_IFR_QUESTION_HEADER, Flags));
  Info.Width = WidthOf(Ifr, Op, Info.Shape);
  Info.BitField = BitField;
  if (Question(Info.Id) != nullptr) return;
  if (!Questions.Add(Info)) Ok = false;
}

bool FormSetModel::Scan(ByteView Ifr, UINT64 Start, UINT64 End) {
  bool Ok = true;
  IfrWalk Walk(Ifr.Part(0, End), Start);
  IfrOp Op{};
  UINT32 Depth = 0;
  UINT32 BitFieldDepth = 0;  // the depth inside a bit-field scope; 0: outside
  while (Ok && Walk.Next(Op)) {
    if (Op.Code == EFI_IFR_GUID_OP && Op.Scope && Op.Length >= sizeof(EFI_IFR_GUID)) {
      EFI_GUID Guid;
      Ifr.Guid(Op.Offset + offsetof(EFI_IFR_GUID, Guid), Guid);
      if (BitFieldDepth == 0 && SameGuid(Guid, gEdkiiIfrBitVarstoreGuid)) BitFieldDepth = Depth + 1;
    }
    AddStore(Ifr, Op, Ok);
    AddQuestion(Ifr, Op, BitFieldDepth != 0, Ok);
    if (Op.Scope) ++Depth;
    if (Op.Code == EFI_IFR_END_OP && Depth > 0) {
      if (Depth == BitFieldDepth) BitFieldDepth = 0;
      --Depth;
    }
  }
  return Ok;
}

const StoreInfo *FormSetModel::Store(UINT16 Id) const {
  for (UINT32 Index = 0; Index < Stores.Count; ++Index)
    if (Stores.Items[Index].Id == Id) return &Stores.Items[Index];
  return nullptr;
}

const QuestionInfo *FormSetModel::Question(UINT16 Id) const {
  for (UINT32 Index = 0; Index < Questions.Count; ++Index)
    if (Questions.Items[Index].Id == Id) return &Questions.Items[Index];
  return nullptr;
}

}  // namespace hiicompat

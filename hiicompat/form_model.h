// What the first pass over a UEFI form set learns: its varstores and every
// question's storage, so that the second pass (ifr_translator.h) can tell
// which store a question lives in and what an expression's question
// references read, whatever order the IFR declares them in.
#pragma once

#include "hiicompat/ifr_walk.h"

namespace hiicompat {

enum class StoreKind : UINT8 {
  Buffer,     // EFI_IFR_VARSTORE: bytes only its owner's Config Access knows
  Efi,        // EFI_IFR_VARSTORE_EFI with a name: a UEFI variable
  EfiNoName,  // EFI_IFR_VARSTORE_EFI of UEFI 2.1, which names no variable
  NameValue,  // EFI_IFR_VARSTORE_NAME_VALUE: one named value per question
};

struct StoreInfo {
  UINT16 Id;
  StoreKind Kind;
  EFI_GUID Guid;
  UINT64 NameOffset;  // of the ASCII name in the IFR
  UINT32 NameLength;  // bytes, without the NUL
  UINT16 Size;
  UINT32 Attributes;  // EFI variable stores
};

enum class QuestionShape : UINT8 { OneOf, CheckBox, Numeric, String, Password, Date, Time, OrderedList, Action, Ref };

struct QuestionInfo {
  UINT16 Id;
  UINT16 VarStoreId;
  UINT16 Offset;  // VarOffset (or VarName in a name/value store)
  UINT8 Width;    // bytes of storage; 8 for 8-byte numerics, 0 when unknown
  UINT8 Flags;
  QuestionShape Shape;
  bool BitField;  // inside EDK2's bit-field varstore scope
};

// Bytes after the opcode at Offset up to and including the END that closes
// its scope: the offset where the walk goes on. For an opcode without a
// scope, the offset after it. At a malformed opcode, where the walk ended.
UINT64 ScopeEnd(ByteView Ifr, UINT64 Offset);

class FormSetModel {
 public:
  FormSetModel() = default;
  ~FormSetModel();
  FormSetModel(const FormSetModel &) = delete;
  FormSetModel &operator=(const FormSetModel &) = delete;

  // Reads the opcodes in [Start, End) of Ifr. False only when memory runs
  // out. A store id declared twice keeps its first declaration.
  [[nodiscard]] bool Scan(ByteView Ifr, UINT64 Start, UINT64 End);

  const StoreInfo *Store(UINT16 Id) const;
  const QuestionInfo *Question(UINT16 Id) const;
  UINT32 StoreCount() const { return Stores.Count; }
  const StoreInfo &StoreAt(UINT32 Index) const { return Stores.Items[Index]; }

 private:
  template <class T> struct List {
    T *Items = nullptr;
    UINT32 Count = 0;
    UINT32 Capacity = 0;
    [[nodiscard]] bool Add(const T &Item);
    void Release();
  };
  void AddStore(ByteView Ifr, const IfrOp &Op, bool &Ok);
  void AddQuestion(ByteView Ifr, const IfrOp &Op, bool BitField, bool &Ok);

  List<StoreInfo> Stores;
  List<QuestionInfo> Questions;
};

}  // namespace hiicompat

// One Framework data table in the making: the IFR of a form set's
// translation, the strings it uses (renumbered from 1 in the order first
// used) and its variable packs (the stores it uses, Framework varstore ids
// 1 to 32, as many as the driver records per table).
#pragma once

#include "hiibuild/byte_buffer.h"
#include "hiibuild/ifr_encoder.h"
#include "hiicompat/bridged_stores.h"
#include "hiicompat/form_model.h"
#include "hiicompat/string_table.h"
#include "hiicompat/translation_counts.h"

namespace hiicompat {

// The stores the driver records per table.
constexpr UINT32 MAX_TABLE_STORES = 32;

// What a table needs from the form set and the export around it.
struct TableSources {
  ByteView Ifr;                // the form package's opcodes, for store names
  const StringTable *Strings;  // the chosen language
  ByteView DevicePath;         // the package list's owner
  BridgedStoreList *Bridged;   // where buffer stores of this export are added
};

class FrameworkTable {
 public:
  FrameworkTable(const hiibuild::Allocator &Memory, const TableSources &Sources);
  ~FrameworkTable();
  FrameworkTable(const FrameworkTable &) = delete;
  FrameworkTable &operator=(const FrameworkTable &) = delete;

  hiibuild::IfrEncoder &Ifr() { return Encoder; }
  // Records a failed step (memory, a builder status): the table is then
  // not written.
  void Fail() { Failed = true; }
  void Check(hiibuild::BuildStatus Status) {
    if (Status != hiibuild::BuildStatus::Success) Failed = true;
  }
  bool HasFailed() const { return Failed; }

  // The Framework token of a UEFI string id (the same text on every call);
  // 0 for id 0, a string the language lacks, or failed memory.
  UINT16 Token(UINT16 StringId);

  // The Framework varstore id of a store (a variable pack is added on first
  // use), or 0 with the reason in Why.
  UINT16 StoreId(const StoreInfo &Store, LeftOut &Why);
  // The id of a variable no store has, for questions without storage:
  // the driver reads nothing there and writes nothing.
  UINT16 NoStorageId();
  // A VARSTORE_SELECT unless Id is the one selected last.
  void Select(UINT16 Id);
  // Forgets which store was selected (a table start, an end of form set).
  void ForgetSelection() { Selected = 0; }

  // Appends the data table (header, variable packs, IFR pack, string pack)
  // to Out. EFI_SUCCESS, EFI_OUT_OF_RESOURCES, or EFI_BAD_BUFFER_SIZE when a
  // length does not fit its field.
  [[nodiscard]] EFI_STATUS Write(hiibuild::ByteBuffer &Out, UINT16 Handle, const EFI_GUID &Guid);

 private:
  struct Pack {
    UINT16 UefiStore;  // 0 for the no-storage pack
    UINT64 Offset;     // in Variables
    UINT64 Size;
  };
  UINT16 AddPack(UINT16 UefiStore, const EFI_GUID &Guid, const CHAR16 *Name, UINT32 Length);

  hiibuild::Allocator Memory;
  TableSources Sources;
  hiibuild::ByteBuffer Code;
  hiibuild::IfrEncoder Encoder;
  hiibuild::ByteBuffer Variables;
  Pack Packs[MAX_TABLE_STORES];
  UINT32 PackCount = 0;
  UINT16 Selected = 0;
  // Token t's text is Texts[t]; TokenOf[id] is the token of UEFI id.
  CHAR16 **Texts = nullptr;
  UINT32 *Lengths = nullptr;
  UINT32 TokenCount = 0;
  UINT32 TokenCapacity = 0;
  UINT16 *TokenOf = nullptr;
  bool Failed = false;
};

// The allocator the export builder gets: the runtime heap.
hiibuild::Allocator HeapAllocator();

}  // namespace hiicompat

// A client's linked list of request records (BIOS_SETTING_REQUEST or
// BIOS_SETTING_VALUE), walked safely and indexed by name.
//
// The list is client memory: a list that loops back on itself would keep
// the driver walking forever at boot time, so every operation measures it
// first. Looking names up by walking the whole list once per question would
// cost questions x records comparisons; the index hashes the folded names
// once per call, and hands out the waiting records of a name in list order,
// exactly the order in which a walk from the head would find them.
#pragma once

#include "bioscfg_protocol.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/prompt_compare.h"

// The number of records from Head to the end. False when the list loops
// back on itself (Floyd's walk: no memory, at most three passes).
template <class Record> [[nodiscard]] bool CountRecords(const Record *Head, UINTN *Count) {
  UINTN Length = 0;
  const Record *Slow = Head;
  const Record *Fast = Head;
  while (Fast != nullptr) {
    Fast = Fast->Next;
    ++Length;
    if (Fast == nullptr) break;
    Fast = Fast->Next;
    ++Length;
    Slow = Slow->Next;
    if (Fast == Slow) return false;
  }
  *Count = Length;
  return true;
}

template <class Record> class PendingRecords {
 public:
  PendingRecords() = default;
  PendingRecords(const PendingRecords &) = delete;
  PendingRecords &operator=(const PendingRecords &) = delete;

  // Indexes the Count records from Head that Waiting accepts, in list
  // order. EFI_SUCCESS, or BCFG_E_OUT_OF_MEMORY.
  [[nodiscard]] EFI_STATUS Build(Record *Head, UINTN Count, bool (*Waiting)(const Record &)) {
    UINTN Buckets = 16;
    while (Buckets < Count && Buckets < (static_cast<UINTN>(1) << 30)) Buckets <<= 1;
    Mask = static_cast<UINT32>(Buckets - 1);
    Heads.Reset(static_cast<Entry **>(crt::calloc(Buckets, sizeof(Entry *))));
    Entries.Reset(static_cast<Entry *>(crt::calloc(Count == 0 ? 1 : Count, sizeof(Entry))));
    if (!Heads || !Entries) return BCFG_E_OUT_OF_MEMORY;
    // Appended at the tail of each chain, so every chain keeps list order.
    crt::HeapPtr<Entry *> Tails(static_cast<Entry **>(crt::calloc(Buckets, sizeof(Entry *))));
    if (!Tails) return BCFG_E_OUT_OF_MEMORY;
    UINTN Used = 0;
    for (Record *R = Head; R != nullptr && Used < Count; R = R->Next) {
      if (!Waiting(*R)) continue;
      Entry &E = Entries.Get()[Used++];
      E.Item = R;
      E.Hash = FoldedNameHash(R->Name);
      E.Next = nullptr;
      const UINT32 Bucket = E.Hash & Mask;
      if (Tails.Get()[Bucket] == nullptr) {
        Heads.Get()[Bucket] = &E;
      } else {
        Tails.Get()[Bucket]->Next = &E;
      }
      Tails.Get()[Bucket] = &E;
    }
    return EFI_SUCCESS;
  }

  // The first waiting record whose name equals Prompt, taken out of the
  // index; nullptr when there is none left.
  Record *TakeFirst(const PromptText &Prompt) {
    const UINT32 Hash = FoldedPromptHash(Prompt);
    for (Entry **Link = &Heads.Get()[Hash & Mask]; *Link != nullptr; Link = &(*Link)->Next) {
      Entry *E = *Link;
      if (E->Hash != Hash || !NameMatchesPrompt(E->Item->Name, Prompt)) continue;
      *Link = E->Next;
      return E->Item;
    }
    return nullptr;
  }

 private:
  struct Entry {
    Record *Item;
    UINT32 Hash;
    Entry *Next;
  };
  crt::HeapPtr<Entry *> Heads;
  crt::HeapPtr<Entry> Entries;
  UINT32 Mask = 0;
};

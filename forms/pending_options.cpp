#include "forms/pending_options.h"

#include "runtime/crt.h"

namespace {

constexpr UINT32 FIRST_CAPACITY = 32;

}  // namespace

void PendingOptionList::Add(const OptionView &Option) {
  if (Used == Capacity) {
    // Options are at least 2 bytes of IFR each, so their number stays far
    // below what 32 bits count.
    const UINT32 Grown = Capacity == 0 ? FIRST_CAPACITY : Capacity * 2;
    auto *Larger = static_cast<OptionView *>(crt::malloc(static_cast<size_t>(Grown) * sizeof(OptionView)));
    if (Larger == nullptr) {
      Lost = true;
      return;
    }
    for (UINT32 Index = 0; Index < Used; ++Index) Larger[Index] = Entries[Index];
    crt::free(Entries);
    Entries = Larger;
    Capacity = Grown;
  }
  Entries[Used++] = Option;
}

void PendingOptionList::Release() {
  crt::free(Entries);
  Entries = nullptr;
  Used = 0;
  Capacity = 0;
  Lost = false;
}

// The options of the one-of being parsed, between the question and its
// end-of-one-of, in IFR order.
//
// One growing array, reused for every one-of of a load, so collecting
// options costs no allocation per option; the end-of-one-of copies them
// into a block of exactly their number.
#pragma once

#include "forms/setup_question.h"

class PendingOptionList {
 public:
  constexpr PendingOptionList() : Entries(nullptr), Used(0), Capacity(0), Lost(false) {}
  ~PendingOptionList() { Release(); }
  PendingOptionList(const PendingOptionList &) = delete;
  PendingOptionList &operator=(const PendingOptionList &) = delete;

  // Appends Option. When the array cannot grow, the option is not kept and
  // the collection counts as incomplete until it is cleared.
  void Add(const OptionView &Option);
  UINT32 Count() const { return Used; }
  // Whether an option was lost since the last Clear.
  bool Incomplete() const { return Lost; }
  const OptionView &At(UINT32 Index) const { return Entries[Index]; }
  // Forgets the options and keeps the array for the next question.
  void Clear() {
    Used = 0;
    Lost = false;
  }
  // Forgets the options and frees the array.
  void Release();

 private:
  OptionView *Entries;
  UINT32 Used;
  UINT32 Capacity;
  bool Lost;
};

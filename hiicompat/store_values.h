// The current bytes of a form set's stores, read once per export for the
// conditions the image decides itself: an EFI variable store through the
// firmware's own GetVariable (not the wrap), a buffer store through Config
// Routing. A store that cannot be read has no values: conditions on it are
// then undecidable.
#pragma once

#include "hiicompat/byte_span.h"
#include "hiicompat/form_model.h"

namespace hiicompat {

class StoreValues {
 public:
  StoreValues(const FormSetModel &Model, ByteView Ifr, ByteView DevicePath) : Model(Model), Ifr(Ifr), Path(DevicePath) {}
  ~StoreValues();
  StoreValues(const StoreValues &) = delete;
  StoreValues &operator=(const StoreValues &) = delete;

  // The value of a question with storage (1, 2, 4 or 8 bytes at its
  // offset); false when the question, its store or its bytes are unknown.
  bool QuestionValue(UINT16 Question, UINT64 &Value);

 private:
  struct Cached {
    UINT16 StoreId;
    UINT8 *Bytes;  // nullptr: could not be read
    UINT32 Size;
  };
  const Cached *Load(const StoreInfo &Store);

  const FormSetModel &Model;
  ByteView Ifr;
  ByteView Path;
  Cached *Items = nullptr;
  UINT32 Count = 0;
  UINT32 Capacity = 0;
};

}  // namespace hiicompat

// Owner of one object made with crt::New: deletes it unless Release() hands
// it over (for example into gImage once every step of an operation worked).
#pragma once

#include "runtime/crt.h"

template <class T> class HeapObject {
 public:
  explicit HeapObject(T *Object) : Object(Object) {}
  ~HeapObject() { crt::Delete(Object); }
  HeapObject(const HeapObject &) = delete;
  HeapObject &operator=(const HeapObject &) = delete;

  T *Get() const { return Object; }
  T *Release() {
    T *Owned = Object;
    Object = nullptr;
    return Owned;
  }
  explicit operator bool() const { return Object != nullptr; }

 private:
  T *Object;
};

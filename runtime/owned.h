// Owners for what the runtime hands out: heap blocks, objects made with
// crt::New, page runs below 4 GiB and open streams. Each releases its resource when it
// goes out of scope unless Release() hands ownership over, so a step that
// fails half-way leaves nothing behind.
#pragma once

#include "runtime/crt.h"

namespace crt {

template <class T, void (*Dispose)(T *)> class Owned {
 public:
  Owned() = default;
  explicit Owned(T *Resource) : Resource(Resource) {}
  ~Owned() { Dispose(Resource); }
  Owned(const Owned &) = delete;
  Owned &operator=(const Owned &) = delete;

  T *Get() const { return Resource; }
  T *Release() {
    T *Handed = Resource;
    Resource = nullptr;
    return Handed;
  }
  void Reset(T *NewResource) {
    Dispose(Resource);
    Resource = NewResource;
  }
  explicit operator bool() const { return Resource != nullptr; }

 private:
  T *Resource = nullptr;
};

namespace detail {
template <class T> void FreeBlock(T *Block) { crt::free(Block); }
template <class T> void DeleteObject(T *Object) { crt::Delete(Object); }
template <class T> void FreePages(T *Block) { crt::FreeBelow4G(Block); }
// A close failure has nowhere to go from a destructor; a caller that must
// know whether the data reached the disk calls fclose on Release() itself.
inline void CloseStream(crt::FILE *Stream) {
  if (Stream != nullptr) static_cast<void>(crt::fclose(Stream));
}
}  // namespace detail

// A block from crt::malloc/calloc.
template <class T> using HeapPtr = Owned<T, detail::FreeBlock<T>>;
// An object from crt::New.
template <class T> using HeapObject = Owned<T, detail::DeleteObject<T>>;
// A run of pages from crt::AllocateBelow4G.
template <class T> using PagesBelow4G = Owned<T, detail::FreePages<T>>;
// A stream from crt::fopen.
using OpenStream = Owned<FILE, detail::CloseStream>;

}  // namespace crt

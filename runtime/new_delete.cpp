// Global new and delete for the UEFI image, over the runtime heap. The host
// build keeps its C++ library's; driver code allocates through crt::New and
// crt::Delete so both builds use the runtime heap anyway.
//
// Without exceptions a failed new cannot throw: it returns nullptr. The
// compiler may assume a plain new never returns nullptr, so code that must
// see the failure uses crt::New or new (std::nothrow).
#include "runtime/crt.h"

void *operator new(size_t Size) { return crt::malloc(Size); }
void *operator new[](size_t Size) { return crt::malloc(Size); }
void *operator new(size_t Size, const std::nothrow_t &) noexcept { return crt::malloc(Size); }
void *operator new[](size_t Size, const std::nothrow_t &) noexcept { return crt::malloc(Size); }

void operator delete(void *Block) noexcept { crt::free(Block); }
void operator delete[](void *Block) noexcept { crt::free(Block); }
void operator delete(void *Block, size_t) noexcept { crt::free(Block); }
void operator delete[](void *Block, size_t) noexcept { crt::free(Block); }
void operator delete(void *Block, const std::nothrow_t &) noexcept { crt::free(Block); }
void operator delete[](void *Block, const std::nothrow_t &) noexcept { crt::free(Block); }

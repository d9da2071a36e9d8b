// Keeps the optimiser from turning the runtime's own byte loops into calls
// to memset/memcpy/memmove/strlen.
//
// In the UEFI image those C symbols are provided by libefi and by this very
// runtime (libc_symbols.cpp forwards memmove and friends to crt::); a loop in
// crt::memmove that GCC rewrote into a call to memmove would recurse forever.
// Clang does not pattern-match these loops at the optimisation levels we use
// for the image, and rejects the GCC pragma, so it is GCC-only.
#pragma once

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-tree-loop-distribute-patterns")
#endif

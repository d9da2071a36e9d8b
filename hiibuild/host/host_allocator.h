// The C library's heap as the core builder's allocator (host only).
#pragma once

#include "hiibuild/build_status.h"

namespace hiibuild {

const Allocator &HostAllocator();

// Throws what the host layer throws for a core status other than Success:
// std::length_error (TooLong), std::bad_alloc (OutOfMemory) or
// std::invalid_argument (InvalidArgument). What names the call that failed.
void ThrowUnlessSuccess(BuildStatus Status, const char *What);

}  // namespace hiibuild

# Runtime sources shared by both homes.
set(RUNTIME_SOURCES
)
# Only in the UEFI image: the C symbols the compiler may emit calls to, and
# the global operator new/delete (the host keeps its C library's).
set(RUNTIME_TARGET_SOURCES
)

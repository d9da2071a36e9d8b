# Runtime sources shared by both homes.
set(RUNTIME_SOURCES
  runtime/startup.cpp
  runtime/heap.cpp
  runtime/pages_below_4g.cpp
  runtime/memory.cpp
  runtime/word_memory.cpp
  runtime/strings.cpp
  runtime/wide_strings.cpp
  runtime/ctype.cpp
  runtime/convert.cpp
  runtime/format.cpp
  runtime/printf.cpp
  runtime/variable_text.cpp
  runtime/environment.cpp
  runtime/volumes.cpp
  runtime/file_names.cpp
  runtime/file_open.cpp
  runtime/streams.cpp
  runtime/stream_io.cpp
  runtime/file_info_query.cpp
  runtime/device_path.cpp
  runtime/root_device.cpp
)
# Only in the UEFI image: the C symbols the compiler may emit calls to, and
# the global operator new/delete (the host keeps its C library's).
set(RUNTIME_TARGET_SOURCES
  runtime/libc_symbols.cpp
  runtime/new_delete.cpp
)

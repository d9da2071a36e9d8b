# The export builder's freestanding core: no library calls, memory from an
# injected allocator. An image that builds exports compiles these itself.
set(HIIBUILD_SOURCES
  hiibuild/byte_buffer.cpp
  hiibuild/ifr_encoder.cpp
  hiibuild/pack_encoder.cpp
  hiibuild/export_encoder.cpp
)

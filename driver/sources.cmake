set(DRIVER_SOURCES
  driver/image_state.cpp
)
# Only in the UEFI image: crt0's entry symbol.
set(DRIVER_TARGET_SOURCES
  driver/efi_main.cpp
)

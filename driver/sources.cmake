set(DRIVER_SOURCES
  driver/image_state.cpp
  driver/driver_entry.cpp
  driver/bios_config_protocol.cpp
  driver/protocol_layout.cpp
  driver/session.cpp
  driver/session_operations.cpp
  driver/settings_operations.cpp
  driver/reload_retry.cpp
)
# Only in the UEFI image: crt0's entry symbol.
set(DRIVER_TARGET_SOURCES
  driver/efi_main.cpp
)

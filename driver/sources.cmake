set(DRIVER_SOURCES
  driver/image_state.cpp
  driver/driver_entry.cpp
  driver/bios_config_protocol.cpp
  driver/extensions_protocol.cpp
  driver/protocol_layout.cpp
  driver/session.cpp
  driver/session_operations.cpp
  driver/settings_operations.cpp
  driver/step_sink.cpp
  driver/change_journal.cpp
  driver/change_run.cpp
  driver/change_runs.cpp
)
# Only in the UEFI image: crt0's entry symbol.
set(DRIVER_TARGET_SOURCES
  driver/efi_main.cpp
)

# Sources of the INI parser image iniparse.efi, shared by both homes.
set(INIPARSE_SOURCES
  iniparse/image_entry.cpp
  iniparse/image_state.cpp
  iniparse/lookup.cpp
  iniparse/ini_file_cache.cpp
  iniparse/ini_index.cpp
  iniparse/ini_lines.cpp
  ${INICONTRACT_SOURCES}
)
# Only in the UEFI image: the entry that gnu-efi's crt0 calls.
set(INIPARSE_TARGET_SOURCES
  iniparse/efi_main.cpp
)

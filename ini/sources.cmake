# INI export and import, and the bridge to the parser image, shared by both homes.
set(INI_SOURCES
  ini/bios_section_export.cpp
  ini/ini_parser_bridge.cpp
  ini/bios_section_import.cpp
)

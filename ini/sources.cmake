# INI export and import, and the bridge to the parser image, shared by both homes.
set(INI_SOURCES
  ini/ini_file_path.cpp
  ini/section_path.cpp
  ini/bios_section_export.cpp
  ini/ini_parser_bridge.cpp
  ini/bios_section_import.cpp
)

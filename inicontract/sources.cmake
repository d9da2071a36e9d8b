# The INI contract: what the driver, the parser image and the configuration
# tool share about INI files. Each image compiles these sources itself.
set(INICONTRACT_SOURCES
  inicontract/ini_file_path.cpp
  inicontract/section_path.cpp
  inicontract/import_rules.cpp
  inicontract/parser_image.cpp
)

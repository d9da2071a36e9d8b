# The setup form database, shared by both homes.
set(FORMS_SOURCES
  forms/conditions.cpp
  forms/hii_retrieval.cpp
  forms/ifr_parser.cpp
  forms/option_texts.cpp
  forms/setup_form_database.cpp
  forms/string_lookup.cpp
  forms/text_arena.cpp
  forms/variable_cache.cpp
  forms/variable_read.cpp
  forms/variable_store.cpp
)

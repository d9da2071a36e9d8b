# The setup form database, shared by both homes.
set(FORMS_SOURCES
  forms/conditions.cpp
  forms/hii_retrieval.cpp
  forms/ifr_parser.cpp
  forms/pending_options.cpp
  forms/question_options.cpp
  forms/record_arena.cpp
  forms/setup_form_database.cpp
  forms/shared_option_texts.cpp
  forms/string_lookup.cpp
  forms/variable_cache.cpp
  forms/variable_read.cpp
  forms/variable_store.cpp
  forms/variable_services.cpp
  forms/variable_overlay.cpp
)

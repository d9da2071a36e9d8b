# Setting access: reading and changing questions by prompt, shared by both homes.
set(SETTINGS_SOURCES
  settings/settings_engine.cpp
  settings/reload_flags.cpp
  settings/prompt_compare.cpp
  settings/eligibility.cpp
  settings/option_copy.cpp
  settings/question_variable.cpp
  settings/get_settings.cpp
  settings/set_settings.cpp
  settings/set_form_settings.cpp
)

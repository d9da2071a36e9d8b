set(MESSAGES_SOURCES
  messages/messages_state.cpp
  messages/last_error_text.cpp
  messages/message_catalog.cpp
  messages/catalog_access.cpp
)

set(MESSAGES_SOURCES
  messages/message_catalog.cpp
  messages/catalog_access.cpp
)

# The variable store text format, freestanding: an image that reads or
# writes the text compiles these itself.
set(VARIABLEFILE_SOURCES
  variablefile/variable_reader.cpp
  variablefile/variable_writer.cpp
)

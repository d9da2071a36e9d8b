// Parsing the readable source of the driver's message catalog.
//
// Source format (also described in README.md):
//   - one message per entry:   NUMBER "TEXT"
//   - NUMBER is decimal; entries are numbered 0, 1, 2 ... in order, no gaps
//   - TEXT is printable ASCII between double quotes, with the escapes
//     \n \r \t \\ \" and \xHH (one byte, HH two hex digits, not 00)
//   - blank lines and lines whose first non-blank character is '#' are ignored
//   - whitespace around the number and the quoted text is ignored
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace strc {

struct SourceParseResult {
  bool Ok = false;
  std::vector<std::u16string> Messages;  // message n at index n
  std::string Error;                     // "line N: what is wrong" when !Ok
};

SourceParseResult ParseCatalogSource(std::string_view Source);

}  // namespace strc

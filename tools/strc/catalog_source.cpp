#include "tools/strc/catalog_source.h"

#include <cctype>
#include <optional>

namespace strc {
namespace {

std::string_view Trim(std::string_view Text) {
  while (!Text.empty() && (Text.front() == ' ' || Text.front() == '\t')) Text.remove_prefix(1);
  while (!Text.empty() && (Text.back() == ' ' || Text.back() == '\t' || Text.back() == '\r'))
    Text.remove_suffix(1);
  return Text;
}

int HexDigit(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

// Decodes the quoted text (quotes included in Quoted). Returns the error or
// std::nullopt on success.
std::optional<std::string> DecodeQuoted(std::string_view Quoted, std::u16string &Text) {
  if (Quoted.size() < 2 || Quoted.front() != '"') return "expected a quoted text after the number";
  size_t I = 1;
  for (; I < Quoted.size(); ++I) {
    const char C = Quoted[I];
    if (C == '"') break;
    const auto Byte = static_cast<unsigned char>(C);
    if (Byte < 0x20 || Byte > 0x7E) return "only printable ASCII is allowed in a text (use \\xHH)";
    if (C != '\\') {
      Text.push_back(static_cast<char16_t>(Byte));
      continue;
    }
    if (++I >= Quoted.size()) return "unterminated escape";
    switch (Quoted[I]) {
      case 'n': Text.push_back(u'\n'); break;
      case 'r': Text.push_back(u'\r'); break;
      case 't': Text.push_back(u'\t'); break;
      case '\\': Text.push_back(u'\\'); break;
      case '"': Text.push_back(u'"'); break;
      case 'x': {
        if (I + 2 >= Quoted.size()) return "\\x needs two hex digits";
        const int High = HexDigit(Quoted[I + 1]);
        const int Low = HexDigit(Quoted[I + 2]);
        if (High < 0 || Low < 0) return "\\x needs two hex digits";
        const int Value = High * 16 + Low;
        if (Value == 0) return "\\x00 would end the text early";
        Text.push_back(static_cast<char16_t>(Value));
        I += 2;
        break;
      }
      default: return std::string("unknown escape \\") + Quoted[I];
    }
  }
  if (I >= Quoted.size()) return "missing closing quote";
  if (I + 1 != Quoted.size()) return "unexpected text after the closing quote";
  return std::nullopt;
}

}  // namespace

SourceParseResult ParseCatalogSource(std::string_view Source) {
  SourceParseResult Result;
  size_t LineNumber = 0;
  auto Fail = [&](const std::string &What) {
    Result.Ok = false;
    Result.Messages.clear();
    Result.Error = "line " + std::to_string(LineNumber) + ": " + What;
    return Result;
  };

  while (!Source.empty()) {
    const size_t End = Source.find('\n');
    std::string_view Line = Trim(Source.substr(0, End));
    Source.remove_prefix(End == std::string_view::npos ? Source.size() : End + 1);
    ++LineNumber;
    if (Line.empty() || Line.front() == '#') continue;

    size_t Digits = 0;
    while (Digits < Line.size() && std::isdigit(static_cast<unsigned char>(Line[Digits]))) ++Digits;
    if (Digits == 0) return Fail("expected a message number");
    if (Digits > 9) return Fail("message number too large");
    const size_t Number = std::stoul(std::string(Line.substr(0, Digits)));
    if (Number != Result.Messages.size())
      return Fail("message " + std::to_string(Number) + " out of order, expected " +
                  std::to_string(Result.Messages.size()));

    std::u16string Text;
    if (auto Error = DecodeQuoted(Trim(Line.substr(Digits)), Text)) return Fail(*Error);
    Result.Messages.push_back(std::move(Text));
  }
  if (Result.Messages.empty()) return Fail("no messages");
  Result.Ok = true;
  return Result;
}

}  // namespace strc

// The freestanding variable store reader at its bounds: field limits, the
// caller's buffers, text that ends without a newline or a terminator, and
// the error text.
#include "variablefile/variable_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using variablefile::VariableStoreError;

const std::string kGuid = " {C7F7C970-FCFF-455D-A884-F67C0E300856} ";

struct Read {
  variablefile::VariableStoreResult Result;
  std::vector<std::u16string> Names;
  std::vector<size_t> Sizes;
  std::vector<size_t> Lines;
  std::string Described;  // the error text, made while the text still lives
};

// Reads Text from a heap block of exactly its size (no terminator), so the
// sanitizer catches a read past the end.
Read ReadText(const std::string &Text, size_t NameUnits = variablefile::VARIABLE_STORE_MAX_NAME + 1,
              size_t DataBytes = variablefile::VARIABLE_STORE_MAX_DATA) {
  std::vector<char> Exact(Text.begin(), Text.end());
  std::vector<CHAR16> Name(NameUnits);
  std::vector<UINT8> Data(DataBytes);
  const variablefile::VariableStoreBuffers Buffers{Name.data(), Name.size(), Data.data(), Data.size()};
  Read Out{};
  Out.Result = variablefile::ReadVariableStore(
      Exact.data(), Exact.size(), Buffers,
      [](void *Context, const variablefile::StoreVariable &V) {
        Read &R = *static_cast<Read *>(Context);
        R.Names.emplace_back(reinterpret_cast<const char16_t *>(V.Name), V.NameLength);
        R.Sizes.push_back(V.DataSize);
        R.Lines.push_back(V.Line);
      },
      &Out);
  char Text160[160];
  variablefile::DescribeVariableStoreError(Out.Result, Text160, sizeof Text160);
  Out.Described = Text160;
  return Out;
}

std::string Line(const std::string &Name, size_t DataBytes) {
  return Name + kGuid + "7 " + (DataBytes == 0 ? std::string("-") : std::string(2 * DataBytes, 'A')) + "\n";
}

TEST(VariableStoreReader, FieldsAtTheirLimitsAndOneBeyond) {
  const std::string LongestName(variablefile::VARIABLE_STORE_MAX_NAME, 'N');
  struct Case {
    const char *What;
    std::string Text;
    size_t NameUnits;
    size_t DataBytes;
    VariableStoreError Error;
  };
  constexpr size_t NAME = variablefile::VARIABLE_STORE_MAX_NAME + 1, DATA = variablefile::VARIABLE_STORE_MAX_DATA;
  const Case Cases[] = {
      {"longest name", Line(LongestName, 1), NAME, DATA, VariableStoreError::None},
      {"name one too long", Line(LongestName + "N", 1), NAME + 1, DATA, VariableStoreError::NameTooLong},
      {"name without room for its NUL", Line("Setup", 1), 5, DATA, VariableStoreError::NameTooLong},
      {"most data", Line("Setup", DATA), NAME, DATA, VariableStoreError::None},
      {"a byte more than the bound", Line("Setup", DATA + 1), NAME, DATA + 1, VariableStoreError::DataTooLong},
      {"a byte more than the buffer", Line("Setup", 3), NAME, 2, VariableStoreError::DataTooLong},
      {"no data", Line("Setup", 0), NAME, 0, VariableStoreError::None},
      {"longest line", std::string(variablefile::VARIABLE_STORE_MAX_LINE, ' ') + "\n", NAME, DATA,
       VariableStoreError::None},
      {"line one too long", std::string(variablefile::VARIABLE_STORE_MAX_LINE + 1, ' ') + "\n", NAME, DATA,
       VariableStoreError::LineTooLong},
      {"control character in a name", "Se\x01tup" + kGuid + "7 00\n", NAME, DATA, VariableStoreError::BadName},
      {"8-bit character in a name", "Se\xE9tup" + kGuid + "7 00\n", NAME, DATA, VariableStoreError::BadName},
      {"NUL in the data", "Setup" + kGuid + std::string("7 0\0", 4) + "\n", NAME, DATA, VariableStoreError::BadData},
      {"braces on one side only", "Setup {C7F7C970-FCFF-455D-A884-F67C0E300856 7 00\n", NAME, DATA,
       VariableStoreError::BadGuid},
      {"dash out of place", "Setup C7F7C970F-CFF-455D-A884-F67C0E300856 7 00\n", NAME, DATA,
       VariableStoreError::BadGuid},
      {"bare 0x attributes", "Setup" + kGuid + "0x 00\n", NAME, DATA, VariableStoreError::BadAttributes},
      {"nine attribute digits", "Setup" + kGuid + "0x000000007 00\n", NAME, DATA, VariableStoreError::BadAttributes},
  };
  for (const Case &C : Cases) {
    const Read R = ReadText(C.Text, C.NameUnits, C.DataBytes);
    EXPECT_EQ(R.Result.Error, C.Error) << C.What;
    EXPECT_EQ(R.Result.Line, 1u) << C.What;
  }
}

// Lines before a bad one are visited, the bad one and those after are not;
// CRLF, a missing final newline and comment lines read as expected.
TEST(VariableStoreReader, VisitsInOrderAndStopsAtTheFirstBadLine) {
  const Read Good = ReadText("# header\r\n\r\n" + Line("A", 2) + "   # indented comment\n" +
                             "B" + kGuid + "0x3 0102\r\n" + "C" + kGuid + "7 -");
  ASSERT_EQ(Good.Result.Error, VariableStoreError::None);
  EXPECT_EQ(Good.Names, (std::vector<std::u16string>{u"A", u"B", u"C"}));
  EXPECT_EQ(Good.Sizes, (std::vector<size_t>{2, 2, 0}));
  EXPECT_EQ(Good.Lines, (std::vector<size_t>{3, 5, 6}));

  const Read Bad = ReadText(Line("A", 1) + "B" + kGuid + "7\n" + Line("C", 1));
  EXPECT_EQ(Bad.Result.Error, VariableStoreError::MissingFields);
  EXPECT_EQ(Bad.Result.Line, 2u);
  EXPECT_EQ(Bad.Names, (std::vector<std::u16string>{u"A"}));

  EXPECT_EQ(ReadText("").Result.Error, VariableStoreError::None);
}

TEST(VariableStoreReader, ErrorTextsNameTheLineAndQuoteAtMostFortyCharacters) {
  EXPECT_EQ(ReadText("\n\nX {" + std::string(60, 'G') + "} 7 00\n").Described,
            "line 3: bad GUID '{" + std::string(39, 'G') + "...'");
  EXPECT_EQ(ReadText(Line("Setup", variablefile::VARIABLE_STORE_MAX_DATA + 1)).Described,
            "line 1: the data is longer than 65536 bytes");
  EXPECT_EQ(ReadText("Setup" + kGuid + "7\x01 00\n").Described, "line 1: bad attributes '7?'");

  const variablefile::VariableStoreResult Result{VariableStoreError::ExtraText, 12, nullptr, 0};
  char Short[9];
  EXPECT_EQ(variablefile::DescribeVariableStoreError(Result, Short, sizeof Short), 8u);
  EXPECT_EQ(std::string(Short), "line 12:");
}

}  // namespace

// Reading back the text SaveSettingsToIni writes: the last block only, keys
// split at their last '=', options whose texts hold separators.
#include "client/saved_block.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string S(const SavedSpan &Span) { return std::string(Span.Text, Span.Length); }

struct Entry {
  std::string Section, Key;
  INT32 Value;
  std::vector<std::pair<INT32, std::string>> Options;
  bool operator==(const Entry &O) const {
    return Section == O.Section && Key == O.Key && Value == O.Value && Options == O.Options;
  }
};

void PrintTo(const Entry &E, std::ostream *Out) {
  *Out << "{" << E.Section << " | " << E.Key << " | " << E.Value << " |";
  for (const auto &[V, T] : E.Options) *Out << " " << V << "=" << T;
  *Out << "}";
}

std::vector<Entry> Parse(const std::string &Text) {
  std::vector<Entry> Out;
  SavedBlock Block(Text.data(), Text.size());
  SavedEntry E{};
  while (Block.Next(E)) {
    Entry Got{S(E.Section), S(E.Key), E.Value, {}};
    SavedOptions Options(E.Options);
    SavedOption O{};
    while (Options.Next(O)) Got.Options.emplace_back(O.Value, S(O.Text));
    Out.push_back(Got);
  }
  return Out;
}

TEST(SavedBlock, ReadsTheLastBlockAsTheExportWroteIt) {
  const std::string Text =
      "\n[BIOS]\n\n[BIOS::OLD]\nStale=1                                               ;Options: N/A\n"
      "\n[BIOS]\r\n\r\n[BIOS::MAIN]\r\n"
      "  Indented=1                                          ;Options: 1=Enabled: 0=Disabled\r\n"
      "A=B=7                                                 ;Options: N/A\n"
      "Negative=-3                                           ;Options: -3=Minus: 4: 5=Time: 10:30: 6=x\n"
      "No options here\n"
      "Key of exactly fifty-three characters, padded to 54 x=1;Options: 1=On;Options: 0=Off\n";
  EXPECT_EQ(Parse(Text),
            (std::vector<Entry>{
                {"BIOS::MAIN", "  Indented", 1, {{1, "Enabled"}, {0, "Disabled"}}},
                {"BIOS::MAIN", "A=B", 7, {}},
                {"BIOS::MAIN", "Negative", -3, {{-3, "Minus"}, {4, ""}, {5, "Time: 10:30"}, {6, "x"}}},
                // ";Options" inside a prompt: the line splits at the last one.
                {"BIOS::MAIN", "Key of exactly fifty-three characters, padded to 54 x=1;Options: 1", 0, {{0, "Off"}}},
            }));
  EXPECT_TRUE(Parse("[MAIN]\nx=1 ;Options: N/A\n").empty()) << "no [BIOS] block";
}

}  // namespace

// The sample platform on its own: a well-formed export whose IFR agrees with
// the platform's question records and default variables.
#include "platform/sample_platform.h"
#include "tools/hiibuild/hii_export_builder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace hiibuild;
using namespace hiibuild::hii_layout;
using platform::Sample;

struct IfrOpcode {
  uint8_t OpCode;
  size_t At;  // offset in the export
};

// Walks every table and IFR pack of the export, failing the test on any
// structure that does not fit its container.
std::vector<IfrOpcode> WalkExport(const Bytes &Export) {
  std::vector<IfrOpcode> Opcodes;
  uint16_t Tables = GetU16(Export, 0);
  size_t Table = CLASSIC_HEADER_SIZE;
  for (uint16_t T = 0; T < Tables; ++T) {
    uint32_t Size = GetU32(Export, Table + TABLE_SIZE);
    EXPECT_LE(Table + Size, Export.size());
    size_t Ifr = Table + GetU32(Export, Table + TABLE_IFR_OFFSET);
    size_t End = Ifr + GetU32(Export, Ifr + PACK_LENGTH);
    EXPECT_LE(End, Table + Size);
    for (size_t At = Ifr + PACK_HEADER_SIZE; At < End;) {
      uint8_t Length = Export.at(At + 1);
      EXPECT_GE(Length, 2) << "opcode at " << At;
      if (Length < 2) break;
      Opcodes.push_back({Export[At], At});
      At += Length;
      EXPECT_LE(At, End);
    }
    Table += Size;
  }
  EXPECT_EQ(Table, Export.size());
  return Opcodes;
}

TEST(SamplePlatform, ExportIsWellFormedAndMatchesTheQuestionRecords) {
  const auto &P = Sample();
  std::vector<IfrOpcode> Opcodes = WalkExport(P.Export);
  size_t Questions = 0, Forms = 0;
  for (const IfrOpcode &O : Opcodes) {
    if (O.OpCode == IFR_ONE_OF || O.OpCode == IFR_CHECKBOX || O.OpCode == IFR_NUMERIC) {
      ASSERT_LT(Questions, P.Questions.size());
      const auto &Q = P.Questions[Questions++];
      EXPECT_EQ(O.OpCode, Q.OpCode) << std::string(Q.Prompt.begin(), Q.Prompt.end());
      EXPECT_EQ(GetU16(P.Export, O.At + 2), Q.Offset);
      EXPECT_EQ(P.Export[O.At + 4], Q.Width);
    }
    if (O.OpCode == IFR_FORM) {
      ASSERT_LT(Forms, P.Forms.size());
      EXPECT_EQ(GetU16(P.Export, O.At + 2), P.Forms[Forms++].Id);
    }
  }
  EXPECT_EQ(Questions, P.Questions.size());
  EXPECT_EQ(Forms, P.Forms.size());
  EXPECT_GE(P.Questions.size(), 150u);
}

TEST(SamplePlatform, FormsNestByTens) {
  std::vector<uint16_t> Ids;
  for (const auto &F : Sample().Forms) Ids.push_back(F.Id);
  EXPECT_EQ(Ids, (std::vector<uint16_t>{1, 2, 21, 22, 221, 23, 24, 25, 26, 27, 3, 4, 41, 5, 6, 7, 8}));
  std::set<uint16_t> Seen;
  for (uint16_t Id : Ids) {
    if (Id >= 10) {
      EXPECT_TRUE(Seen.count(Id / 10)) << "form " << Id << " before its parent";
    }
    Seen.insert(Id);
  }
}

TEST(SamplePlatform, DefaultsFitTheirVariablesWithoutOverlap) {
  const auto &P = Sample();
  std::map<std::pair<std::u16string, std::string>, std::vector<bool>> Used;
  for (const auto &V : P.Variables) {
    EXPECT_LE(V.Data.size(), 4096u);  // the driver reads variables into 4 KiB
    EXPECT_EQ(V.Attributes, 0x7u);
    Used[{V.Name, GuidToString(V.Guid)}].assign(V.Data.size(), false);
  }
  for (const auto &Q : P.Questions) {
    std::string Prompt(Q.Prompt.begin(), Q.Prompt.end());
    const platform::PlatformVariable *V = platform::FindSampleVariable(Q.VariableName, Q.VariableGuid);
    ASSERT_NE(V, nullptr) << Prompt;
    ASSERT_LE(Q.Offset + Q.Width, V->Data.size()) << Prompt;
    auto &Bits = Used[{V->Name, GuidToString(V->Guid)}];
    uint32_t Stored = 0;
    for (int I = 0; I < Q.Width; ++I) {
      EXPECT_FALSE(Bits[Q.Offset + I]) << Prompt << " overlaps another question";
      Bits[Q.Offset + I] = true;
      Stored |= static_cast<uint32_t>(V->Data[Q.Offset + I]) << (8 * I);
    }
    EXPECT_EQ(Stored, Q.Default) << Prompt;
    if (Q.OpCode == IFR_ONE_OF) {
      bool Listed = false;
      for (uint16_t Value : Q.OptionValues) Listed = Listed || Value == Q.Default;
      EXPECT_TRUE(Listed) << Prompt << " default is no option";
    }
  }
}

TEST(SamplePlatform, SerialPortFormAsksAddressAndIrqPerPort) {
  std::vector<std::u16string> Prompts;
  for (const auto &Q : Sample().Questions)
    if (Q.FormId == 24) Prompts.push_back(Q.Prompt);
  EXPECT_EQ(Prompts, (std::vector<std::u16string>{u"Serial A Enable", u"Address", u"IRQ", u"Serial B Enable",
                                                  u"Address", u"IRQ"}));
}

}  // namespace

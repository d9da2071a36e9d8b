// The sample platform's default variables against its question records.
#include "hiibuild/host/hii_export_builder.h"
#include "platform/sample_platform.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace hiibuild;
using platform::Sample;

TEST(SamplePlatform, DefaultsFitTheirVariablesWithoutOverlap) {
  const auto &P = Sample();
  std::map<std::pair<std::u16string, std::string>, std::vector<bool>> Used;
  for (const auto &V : P.Variables) {
    EXPECT_LE(V.Data.size(), 4096u);  // the driver reads variables into 4 KiB
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
    if (Q.OpCode == IFR_OP_ONE_OF) {
      bool Listed = false;
      for (uint16_t Value : Q.OptionValues) Listed = Listed || Value == Q.Default;
      EXPECT_TRUE(Listed) << Prompt << " default is no option";
    }
  }
}

}  // namespace

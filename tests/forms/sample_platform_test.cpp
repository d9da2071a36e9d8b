// The sample server platform, parsed end to end: every form and question the
// platform defines comes out in IFR order with its variable, default value
// and options.
#include "forms_fixture.h"
#include "platform/sample_platform.h"

namespace forms_test {
namespace {

class SamplePlatformTest : public FormsTest {
 protected:
  void SetUp() override {
    FormsTest::SetUp();
    const platform::SamplePlatform &P = platform::Sample();
    for (const platform::PlatformVariable &V : P.Variables) Fw().PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
    Fw().InstallHii(P.Export, P.HiiProtocolGuid, 1);
    LoadInstalled();
  }
};

std::u16string Name(const CHAR16 *Text) {
  std::u16string Out;
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Text);
  for (size_t I = 0; Bytes[I] != 0 || Bytes[I + 1] != 0; I += 2) Out.push_back(char16_t(Bytes[I] | (Bytes[I + 1] << 8)));
  return Out;
}

TEST_F(SamplePlatformTest, FormsAppearInIfrOrder) {
  const platform::SamplePlatform &P = platform::Sample();
  std::vector<std::pair<uint16_t, std::u16string>> Seen, Expected;
  for (const SetupQuestion *Q : Records()) {
    if (Q->OpCode == IFR_FORM_OP) Seen.push_back({Q->FormId, Str(Q->PromptText, Q->PromptLength)});
  }
  for (const platform::PlatformForm &F : P.Forms) Expected.push_back({F.Id, F.Title});
  EXPECT_EQ(Seen, Expected);
}

TEST_F(SamplePlatformTest, QuestionsCarryTheirVariablesDefaultsAndOptions) {
  const platform::SamplePlatform &P = platform::Sample();
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), P.Questions.size());

  uint16_t Form = 0;
  size_t Index = 0;
  for (const SetupQuestion *Q : Records()) {
    if (Q->OpCode == IFR_FORM_OP) {
      Form = Q->FormId;
      continue;
    }
    const platform::PlatformQuestion &Want = P.Questions[Index++];
    SCOPED_TRACE(std::string(Want.Prompt.begin(), Want.Prompt.end()));
    EXPECT_EQ(Q->OpCode, Want.OpCode);
    EXPECT_EQ(Str(Q->PromptText, Q->PromptLength), Want.Prompt);
    EXPECT_EQ(Form, Want.FormId);
    EXPECT_EQ(Name(Q->VariableName), Want.VariableName);
    EXPECT_TRUE(SameGuid(Q->VariableGuid, Want.VariableGuid));
    EXPECT_EQ(Q->Offset, Want.Offset);
    EXPECT_EQ(Q->Width, Want.Width);
    EXPECT_EQ(Q->Value, Want.Default);
    if (Want.OpCode == IFR_ONE_OF_OP) {
      std::vector<uint32_t> Reversed(Want.OptionValues.rbegin(), Want.OptionValues.rend());
      EXPECT_EQ(OptionValues(Q), Reversed);
    }
  }
}

}  // namespace
}  // namespace forms_test

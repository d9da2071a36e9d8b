// The driver on a firmware whose Framework HII and device I/O come from the
// provider: the provider is loaded first (no InstallHii of the simulator,
// no root device I/O, as on OVMF), then the driver, and a session sees the
// forms and the values the provider serves.
#include "driver/image_state.h"
#include "hiibuild/host/hii_export_builder.h"
#include "platform/sample_platform.h"
#include "settings/settings_engine.h"
#include "simimages/images.h"
#include "tests/hiiprovider/demo_platform.h"
#include "tests/support/driver_harness.h"

namespace {

struct ProviderCase {
  const char *Name;
  void (*Prepare)(sim::Firmware &Fw, const std::string &ToolsDir);
  size_t Questions;  // one-of, checkbox and numeric records the driver lists
  const char16_t *Prompt;
  uint16_t FormId;
  uint32_t Value;
};

void PrintTo(const ProviderCase &C, std::ostream *Out) { *Out << C.Name; }

size_t SampleQuestionCount() { return platform::Sample().Questions.size(); }

const ProviderCase Cases[] = {
    {"EmbeddedSample", [](sim::Firmware &, const std::string &) {}, SampleQuestionCount(), u"Console Redirection",
     41, 0},
    // Console Redirection set to Serial Port B before the provider loads:
    // the provider keeps the variable and the driver reads that value.
    {"KeptVariable",
     [](sim::Firmware &Fw, const std::string &) {
       const platform::PlatformQuestion *Q = platform::FindSampleQuestion(u"Console Redirection", 41);
       std::vector<uint8_t> Data = platform::FindSampleVariable(Q->VariableName, Q->VariableGuid)->Data;
       Data.at(Q->Offset) = 2;
       Fw.PutVariable(Q->VariableName, Q->VariableGuid, platform::SAMPLE_VARIABLE_ATTRIBUTES, Data);
     },
     SampleQuestionCount(), u"Console Redirection", 41, 2},
    {"FilesNextToTheImage",
     [](sim::Firmware &, const std::string &ToolsDir) {
       WriteHostFile(ToolsDir + "/hii.bin", DemoExport());
       WriteHostFile(ToolsDir + "/variables.txt", DemoVariables());
     },
     1, u"Boot Beep", 1, 1},
};

class ProviderDriverTest : public DriverTest, public ::testing::WithParamInterface<ProviderCase> {
 protected:
  void PreparePlatform() override {
    ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\hiiprovider.efi", simimages::HiiProviderImage()));
    Fw().RemoveRootDeviceIo();
    GetParam().Prepare(Fw(), ToolsDir());
    ASSERT_EQ(Fw().LoadAndStart("fs0:\\tools\\hiiprovider.efi", &Provider), EFI_SUCCESS);
  }
  void TearDown() override {
    if (DriverHandle() != nullptr) {
      EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
    }
    if (Provider != nullptr) {
      EXPECT_EQ(Fw().UnloadImage(Provider), EFI_SUCCESS);
    }
    DriverTest::TearDown();  // expects no memory left in the firmware
  }

  EFI_HANDLE Provider = nullptr;
};

TEST_P(ProviderDriverTest, ASessionSeesTheServedFormsAndValues) {
  ASSERT_NE(Proto(), nullptr) << "the driver found the provider's device I/O and started";
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_NE(gImage.Engine, nullptr);
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  const ProviderCase &C = GetParam();
  size_t Questions = 0;
  const SetupQuestion *Wanted = nullptr;
  uint16_t Form = 0;
  for (const SetupQuestion *Q = gImage.Engine->Forms.Questions; Q != nullptr; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP) {
      Form = Q->FormId;
      continue;
    }
    ++Questions;
    if (Form == C.FormId && Q->PromptText != nullptr &&
        hiibuild::ReadWide(Q->PromptText, Q->PromptLength) == C.Prompt)
      Wanted = Q;
  }
  EXPECT_EQ(Questions, C.Questions);
  ASSERT_NE(Wanted, nullptr);
  EXPECT_EQ(Wanted->Value, C.Value);
}

INSTANTIATE_TEST_SUITE_P(Platforms, ProviderDriverTest, ::testing::ValuesIn(Cases),
                         [](const ::testing::TestParamInfo<ProviderCase> &Info) { return Info.param.Name; });

}  // namespace

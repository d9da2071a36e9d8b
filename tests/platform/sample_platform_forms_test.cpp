// The sample platform as the driver sees it: loaded through the protocol's
// session and parsed by the form database, then compared with what the
// platform defines. Also checks that the reshaping questions really reshape
// their forms once their variable changes and the forms are reloaded.
#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "hiibuild/host/hii_export_builder.h"
#include "platform/sample_platform.h"
#include "settings/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <gtest/gtest.h>

namespace {

using platform::PlatformQuestion;
using platform::Sample;

struct Parsed {
  const SetupQuestion *Record;
  uint16_t FormId;
};

std::u16string PromptOf(const SetupQuestion *Q) {
  if (Q->PromptText == nullptr) return {};
  return hiibuild::ReadWide(Q->PromptText, Q->PromptLength);  // may be unaligned
}

std::string Ascii(const std::u16string &Text) { return std::string(Text.begin(), Text.end()); }

std::vector<OptionView> OptionsOf(const SetupQuestion &Q) {
  std::vector<OptionView> Options;
  OptionCursor Cursor(Q);
  for (OptionView O{}; Cursor.Next(O);) Options.push_back(O);
  return Options;
}

class SamplePlatformForms : public DriverTest {
 protected:
  void PreparePlatform() override {
    const auto &P = Sample();
    Fw().InstallHii(P.Export, P.HiiProtocolGuid);
    for (const auto &V : P.Variables) Fw().PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  }

  // Opens a session and loads the forms; the questions with their forms.
  std::vector<Parsed> Load() {
    if (gImage.Engine == nullptr) {
      EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
      if (gImage.Engine == nullptr) return {};
    }
    EXPECT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
    std::vector<Parsed> Questions;
    uint16_t Form = 0;
    for (const SetupQuestion *Q = gImage.Engine->Forms.Questions; Q != nullptr; Q = Q->Next) {
      if (Q->OpCode == IFR_FORM_OP) {
        Form = Q->FormId;
        continue;
      }
      Questions.push_back({Q, Form});
    }
    return Questions;
  }

  std::vector<Parsed> Reload() {
    EXPECT_EQ(gImage.Engine->ResetForms(), EFI_SUCCESS);
    return Load();
  }

  // Stores Value into the question's bytes of its variable in the firmware.
  void Change(const std::u16string &Prompt, uint16_t FormId, uint32_t Value) {
    const PlatformQuestion *Q = platform::FindSampleQuestion(Prompt, FormId);
    ASSERT_NE(Q, nullptr) << Ascii(Prompt);
    auto Stored = Fw().FindVariable(Q->VariableName, Q->VariableGuid);
    ASSERT_TRUE(Stored.has_value());
    std::vector<uint8_t> Data = Stored->Data;  // little-endian, as the driver reads it
    for (int I = 0; I < Q->Width; ++I) Data.at(Q->Offset + I) = static_cast<uint8_t>(Value >> (8 * I));
    Fw().PutVariable(Q->VariableName, Q->VariableGuid, Stored->Attributes, Data);
  }

  static const SetupQuestion *Find(const std::vector<Parsed> &Questions, const std::u16string &Prompt,
                                   uint16_t FormId) {
    for (const Parsed &P : Questions)
      if (P.FormId == FormId && PromptOf(P.Record) == Prompt) return P.Record;
    ADD_FAILURE() << "no question " << Ascii(Prompt) << " on form " << FormId;
    return nullptr;
  }
  static uint32_t FlagsOf(const std::vector<Parsed> &Questions, const std::u16string &Prompt, uint16_t FormId) {
    const SetupQuestion *Q = Find(Questions, Prompt, FormId);
    return Q == nullptr ? 0xFFFFFFFF : Q->Flags;
  }
};

TEST_F(SamplePlatformForms, EveryQuestionMatchesThePlatformDefinition) {
  std::vector<Parsed> Questions = Load();
  const auto &Expected = Sample().Questions;
  ASSERT_EQ(Questions.size(), Expected.size());
  for (size_t I = 0; I < Expected.size(); ++I) {
    const PlatformQuestion &E = Expected[I];
    const SetupQuestion *Q = Questions[I].Record;
    SCOPED_TRACE(Ascii(E.Prompt));
    EXPECT_EQ(PromptOf(Q), E.Prompt);
    EXPECT_EQ(Questions[I].FormId, E.FormId);
    EXPECT_EQ(Q->OpCode, E.OpCode);
    EXPECT_EQ(Q->Offset, E.Offset);
    EXPECT_EQ(Q->Width, E.Width);
    EXPECT_EQ(Q->Value, E.Default);
    ASSERT_NE(Q->VariableName, nullptr);
    EXPECT_EQ(hiibuild::ReadWideZ(Q->VariableName), E.VariableName);
    ASSERT_NE(Q->VariableGuid, nullptr);
    EXPECT_TRUE(hiibuild::GuidsEqual(hiibuild::ReadGuid(Q->VariableGuid), E.VariableGuid));
    EXPECT_EQ(Q->VariableAttributes, platform::SAMPLE_VARIABLE_ATTRIBUTES);
    std::vector<uint32_t> Values;
    for (const OptionView &O : OptionsOf(*Q)) Values.push_back(O.Value);
    if (E.OpCode == IFR_ONE_OF_OP) {  // options come out in reverse IFR order
      EXPECT_EQ(Values, std::vector<uint32_t>(E.OptionValues.rbegin(), E.OptionValues.rend()));
    } else if (E.OpCode == IFR_CHECKBOX_OP) {
      EXPECT_EQ(Values, (std::vector<uint32_t>{1, 0}));
    }
  }
  // Option texts and numeric ranges come from the forms.
  const SetupQuestion *Address = Find(Questions, u"Address", 24);
  ASSERT_NE(Address, nullptr);
  ASSERT_FALSE(OptionsOf(*Address).empty());
  EXPECT_EQ(hiibuild::ReadWide(OptionsOf(*Address)[0].Text, OptionsOf(*Address)[0].TextLength), u"2E8h");
  const SetupQuestion *Latency = Find(Questions, u"PCI Latency Timer", 25);  // 32..248 step 8
  ASSERT_NE(Latency, nullptr);
  ASSERT_EQ(OptionsOf(*Latency).size(), 28u);
  EXPECT_EQ(OptionsOf(*Latency)[0].Value, 248u);
  const SetupQuestion *Threshold = Find(Questions, u"Correctable Error Threshold", 221);  // step 0
  ASSERT_NE(Threshold, nullptr);
  OptionCursor NoOptions(*Threshold);
  OptionView First{};
  EXPECT_FALSE(NoOptions.Next(First));
  Find(Questions, u"Boot Mode", 6);  // its form set lists French first; prompts are still English
}

// Flags at the defaults, then after settings changed in the firmware and the
// forms reloaded. Changed is null where nothing changes.
TEST_F(SamplePlatformForms, ConditionsFollowTheirSettingsAcrossAReload) {
  constexpr uint32_t Suppressed = SETUP_QUESTION_SUPPRESSED, Grayed = SETUP_QUESTION_GRAYED_OUT;
  struct Case {
    const char16_t *Dependant;
    uint16_t DependantForm;
    uint32_t FlagsBefore;
    uint32_t FlagsAfter;
    const char16_t *Changed;
    uint16_t ChangedForm;
    uint32_t Value;
  };
  const Case Cases[] = {
      {u"Baud Rate", 41, Suppressed, 0, u"Console Redirection", 41, 1},
      {u"ATS Support", 21, Suppressed, 0, u"Vexon(R) DR for Remapped I/O", 21, 1},
      {u"Partial Mirror Mode", 221, 0, Grayed, u"Memory Mode", 22, 1},                          // OR
      {u"Vexon(R) TXT Support", 21, 0, Grayed, u"Vexon(R) Virtualization Technology", 21, 0},   // NOT
      {u"Port 60/64 Emulation", 26, 0, Suppressed, u"Legacy USB Support", 26, 2},                // list
      {u"Turbo Mode", 21, 0, Grayed, u"Enhanced Vexon SpeedStep(R) Tech", 21, 0},
      {u"Hardware Prefetcher", 21, 0, 0, nullptr, 0, 0},  // after a NOT scope closes
      {u"Vexon Swift Boot", 6, Suppressed, Suppressed, nullptr, 0, 0},  // id compared with itself
      {u"Memory Error Injection", 221, SETUP_QUESTION_HIDDEN, SETUP_QUESTION_HIDDEN, nullptr, 0, 0},
      {u"Enhanced ECC Mode", 221, 0, 0, nullptr, 0, 0},  // after a hidden scope closes
      {u"Power On Password", 3, Grayed, Grayed, nullptr, 0, 0},
  };
  std::vector<Parsed> Questions = Load();
  for (const Case &C : Cases)
    EXPECT_EQ(FlagsOf(Questions, C.Dependant, C.DependantForm), C.FlagsBefore) << Ascii(C.Dependant);
  for (const Case &C : Cases)
    if (C.Changed != nullptr) Change(C.Changed, C.ChangedForm, C.Value);
  Questions = Reload();
  for (const Case &C : Cases) {
    EXPECT_EQ(FlagsOf(Questions, C.Dependant, C.DependantForm), C.FlagsAfter) << Ascii(C.Dependant);
    if (C.Changed != nullptr) {
      EXPECT_EQ(FlagsOf(Questions, C.Changed, C.ChangedForm), 0u) << Ascii(C.Changed);
    }
  }
}

}  // namespace

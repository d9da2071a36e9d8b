// Reading questions by prompt: what a client's records receive, in which
// order records and options are filled, and the form path of
// GetFormSettings.
#include "tests/settings/settings_fixture.h"

#include "driver/image_state.h"
#include "platform/sample_platform.h"

namespace {

using Options = std::vector<ClientOption>;

TEST_F(SettingsTest, GetFillsKindValueAndOptionsInClientOrder) {
  RequestList L({u"Quiet Boot", u"power restore policy", u"Thermal Margin Offset", u"Boot Timeout",
                 u"Power  Restore Policy", u"Nothing Like This"});
  ASSERT_EQ(Get(L), EFI_SUCCESS);

  // Checkbox: the database keeps Enabled first, the client gets Disabled first.
  EXPECT_EQ(L[0].Found, 1);
  EXPECT_EQ(L[0].Type, BIOS_SETTING_TYPE_CHECKBOX);
  EXPECT_EQ(L[0].Value, 1u);
  EXPECT_EQ(ClientOptions(L[0]), (Options{{u"Disabled", 0}, {u"Enabled", 1}}));
  // One-of, named in another case: options in the form's own order.
  EXPECT_EQ(L[1].Found, 1);
  EXPECT_EQ(L[1].Type, BIOS_SETTING_TYPE_ONE_OF);
  EXPECT_EQ(ClientOptions(L[1]), (Options{{u"Power Off", 0}, {u"Last State", 1}, {u"Power On", 2}}));
  // Numeric: ascending values with their four-digit texts.
  EXPECT_EQ(L[2].Type, BIOS_SETTING_TYPE_NUMERIC);
  EXPECT_EQ(ClientOptions(L[2]),
            (Options{{u"0000", 0}, {u"0005", 5}, {u"0010", 10}, {u"0015", 15}, {u"0020", 20}}));
  // A numeric question with step 0 has no options.
  EXPECT_EQ(L[3].Found, 1);
  EXPECT_EQ(L[3].Value, 5u);
  EXPECT_EQ(L[3].Options, nullptr);
  // An extra blank, or an unknown name: untouched.
  for (size_t I : {4, 5}) {
    EXPECT_EQ(L[I].Found, 0);
    EXPECT_EQ(L[I].Type, 0);
    EXPECT_EQ(L[I].Options, nullptr);
  }
}

TEST_F(SettingsTest, EveryOptionTextOfTheSamplePlatformIsReadableThroughTextAddress) {
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 1), EFI_SUCCESS);
  std::vector<std::u16string> Names;
  std::vector<const platform::PlatformQuestion *> Wanted;
  for (const auto &Q : platform::Sample().Questions) {
    Names.push_back(Q.Prompt);
    Wanted.push_back(&Q);
  }
  RequestList L(Names);
  ASSERT_EQ(Get(L), EFI_SUCCESS);
  size_t Texts = 0;
  for (size_t I = 0; I < L.Size(); ++I) {
    EXPECT_EQ(L[I].Found, 1) << std::string(Names[I].begin(), Names[I].end());
    for (const ClientOption &O : ClientOptions(L[I])) Texts += O.Text.empty() ? 0 : 1;
    if (!Wanted[I]->OptionValues.empty()) {
      Options Got = ClientOptions(L[I]);
      ASSERT_EQ(Got.size(), Wanted[I]->OptionValues.size());
      for (size_t K = 0; K < Got.size(); ++K) EXPECT_EQ(Got[K].Value, Wanted[I]->OptionValues[K]);
    }
  }
  EXPECT_GT(Texts, 400u);
}

TEST_F(DuplicatePrompts, GetFillsSuccessiveRecordsOfOneNameInListOrder) {
  RequestList Three({u"Twin", u"Single", u"TWIN", u"twin"});
  ASSERT_EQ(Get(Three), EFI_SUCCESS);
  EXPECT_EQ(Three[0].Value, 1u) << "the first question fills the first record";
  EXPECT_EQ(Three[2].Value, 0u) << "the second question fills the next one";
  EXPECT_EQ(Three[2].Found, 1);
  EXPECT_EQ(Three[3].Found, 0) << "no third question";

  RequestList One({u"Twin"});
  ASSERT_EQ(Get(One), EFI_SUCCESS);
  EXPECT_EQ(One[0].Value, 1u);
  EXPECT_EQ(ClientOptions(One[0]).size(), 2u) << "one question fills it, once";

  RequestList Preset({u"Twin", u"Twin"});
  Preset[0].Found = 1;
  ASSERT_EQ(Get(Preset), EFI_SUCCESS);
  EXPECT_EQ(Preset[0].Options, nullptr) << "a record that enters found is never filled";
  EXPECT_EQ(Preset[1].Value, 1u);
}

TEST_F(SettingsTest, GetFormFollowsThePathThroughOneForm) {
  // In form order: the title and both questions.
  RequestList InOrder({u"main", u"Quiet Boot", u"NumLock State at Boot"});
  ASSERT_EQ(GetForm(InOrder), EFI_SUCCESS);
  EXPECT_EQ(InOrder[0].Found, 1);
  EXPECT_EQ(InOrder[0].Options, nullptr) << "a title record gets Found and nothing else";
  EXPECT_EQ(InOrder[1].Found, 1);
  EXPECT_EQ(InOrder[2].Found, 1);
  EXPECT_EQ(ClientOptions(InOrder[2]), (Options{{u"On", 1}, {u"Off", 0}}));

  // Out of order in a form that others follow: the next form clears Found
  // again, though the filled fields stay.
  RequestList Cleared({u"Main", u"NumLock State at Boot", u"Quiet Boot"});
  ASSERT_EQ(GetForm(Cleared), EFI_SUCCESS);
  EXPECT_EQ(Cleared[0].Found, 0);
  EXPECT_EQ(Cleared[1].Found, 0);
  EXPECT_EQ(Cleared[1].Type, BIOS_SETTING_TYPE_ONE_OF);
  EXPECT_NE(Cleared[1].Options, nullptr);

  // A question of another form is not reached through this title.
  RequestList Elsewhere({u"Main", u"Wake on LAN"});
  ASSERT_EQ(GetForm(Elsewhere), EFI_SUCCESS);
  EXPECT_EQ(Elsewhere[1].Found, 0);
}

TEST_F(SettingsTest, GetFormIgnoresAllQuestionsModeAndSkipsHiddenQuestions) {
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 1), EFI_SUCCESS);
  // A path that reaches its end returns at once with every Found in place.
  RequestList Visible({u"Console Redirection", u"Console Redirection"});
  ASSERT_EQ(GetForm(Visible), EFI_SUCCESS);
  EXPECT_EQ(Visible[0].Found, 1);
  EXPECT_EQ(Visible[1].Found, 1);
  // "Flow Control" is suppressed until a console port is chosen: it holds
  // the cursor, and the next form clears the title's Found too.
  RequestList Suppressed({u"Console Redirection", u"Flow Control"});
  ASSERT_EQ(GetForm(Suppressed), EFI_SUCCESS);
  EXPECT_EQ(Suppressed[0].Found, 0);
  EXPECT_EQ(Suppressed[1].Found, 0);
  EXPECT_EQ(Suppressed[1].Options, nullptr);
}

TEST_F(DuplicatePrompts, PathsInTheLastFormAndInARepeatedTitle) {
  hiibuild::VariableImage Setup(4);
  Setup.Set(0, 1, 1);
  UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                Ifr.Form(1, u"Twice").CheckBox(0, 1, u"Switch").EndForm();
                Ifr.Form(2, u"Twice").CheckBox(0, 1, u"Switch").CheckBox(1, 1, u"Last").EndForm();
              }),
              {{u"Setup", Setup}}, kTestFormSetGuid);
  // Each occurrence of the title is entered again and fills again: the
  // options grow by a second copy; a record never reached keeps the path
  // from ending early.
  RequestList L({u"Twice", u"Switch", u"Missing"});
  ASSERT_EQ(GetForm(L), EFI_SUCCESS);
  EXPECT_EQ(L[0].Found, 1);
  EXPECT_EQ(L[1].Found, 1);
  EXPECT_EQ(ClientOptions(L[1]).size(), 4u);
  // Out of order in the last form: the title and the question that follows
  // are found, the one asked for before it is not.
  RequestList Reversed({u"Twice", u"Last", u"Switch"});
  ASSERT_EQ(GetForm(Reversed), EFI_SUCCESS);
  EXPECT_EQ(Reversed[0].Found, 1);
  EXPECT_EQ(Reversed[1].Found, 1);
  EXPECT_EQ(Reversed[2].Found, 0);
}

TEST_F(SettingsTest, OutOfMemoryEndsTheCallAndKeepsWhatWasFilled) {
  RequestList Warm({u"Quiet Boot"});
  ASSERT_EQ(Get(Warm), EFI_SUCCESS);  // the forms are loaded: only the call allocates now
  const std::vector<size_t> Full = {2, 3};  // options of the two questions
  bool SawPartialRecord = false;
  for (uint64_t Budget = 0;; ++Budget) {
    RequestList L({u"Quiet Boot", u"Power Restore Policy"});
    Fw().FailAllocationsAfter(Budget);
    const EFI_STATUS Status = Get(L);
    Fw().ClearFaults();
    if (Status == EFI_SUCCESS) {
      EXPECT_EQ(L[1].Found, 1);
      break;
    }
    ASSERT_EQ(Status, BCFG_E_OUT_OF_MEMORY) << "budget " << Budget;
    // Records before the failing one are whole; the failing one keeps its
    // kind, its value and the nodes made so far, without Found; later ones
    // are untouched.
    bool Failed = false;
    for (size_t I = 0; I < 2; ++I) {
      const size_t Nodes = ClientOptions(L[I]).size();
      if (Failed) {
        EXPECT_EQ(L[I].Type, 0);
        EXPECT_EQ(Nodes, 0u);
      } else if (L[I].Found == 1) {
        EXPECT_EQ(Nodes, Full[I]);
      } else {
        Failed = true;
        if (L[I].Type != 0) {
          EXPECT_LT(Nodes, Full[I]);
          SawPartialRecord = SawPartialRecord || Nodes > 0;
        }
      }
    }
    ASSERT_LT(Budget, 100u);
  }
  EXPECT_TRUE(SawPartialRecord);
}

}  // namespace

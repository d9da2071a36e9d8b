// EnumerateQuestions: the whole list as the driver holds it, in pages or
// stopped by the client, with the nesting of forms the IFR's references
// give.
#include "tests/settings/settings_fixture.h"

#include <cstring>
#include <map>

namespace {

struct Seen {
  uint32_t Index;
  uint8_t OpCode;
  uint16_t FormId;
  uint16_t Parent;
  uint32_t Flags;
  uint32_t Value;
  std::u16string Prompt;
  std::vector<std::pair<uint32_t, std::u16string>> Options;
  uint8_t OptionKind;
  uint32_t OptionCount;
};

struct Collector {
  std::vector<Seen> All;
  size_t StopAfter = SIZE_MAX;
};

BOOLEAN BIOSCFG_EFIAPI Collect(VOID *Context, CONST BIOS_CONFIG_QUESTION *Q) {
  auto &C = *static_cast<Collector *>(Context);
  Seen S{Q->Index, Q->OpCode, Q->FormId, Q->ParentFormId, Q->Flags, Q->Value,
         Q->Prompt ? std::u16string(reinterpret_cast<const char16_t *>(Q->Prompt)) : u"",
         {}, Q->OptionKind, Q->OptionCount};
  for (UINT32 I = 0; Q->OptionKind == BIOS_CONFIG_OPTIONS_LIST && I < Q->OptionCount; ++I) {
    const auto *Text = reinterpret_cast<const char16_t *>(Q->Options[I].Text);
    S.Options.emplace_back(Q->Options[I].Value, Text ? Text : u"");
  }
  C.All.push_back(S);
  return C.All.size() < C.StopAfter;
}

VOID BIOSCFG_EFIAPI KeepVariable(VOID *Context, CONST CHAR16 *Name, CONST EFI_GUID *Guid) {
  static_cast<std::vector<std::pair<std::u16string, EFI_GUID>> *>(Context)->emplace_back(
      reinterpret_cast<const char16_t *>(Name), *Guid);
}

class Enumeration : public SettingsTest {
 protected:
  std::vector<Seen> Enumerate(uint32_t First = 0, size_t StopAfter = SIZE_MAX) {
    Collector C;
    C.StopAfter = StopAfter;
    EXPECT_EQ(Extensions()->EnumerateQuestions(Extensions(), First, Collect, &C), EFI_SUCCESS);
    return C.All;
  }
  const Seen *Find(const std::vector<Seen> &All, const std::u16string &Prompt) {
    for (const Seen &S : All) {
      if (S.Prompt == Prompt) return &S;
    }
    return nullptr;
  }
};

TEST_F(Enumeration, EveryRecordWhateverItsFlagsWithValuesAndOptions) {
  const std::vector<Seen> All = Enumerate();
  size_t Questions = 0, Flagged = 0;
  for (size_t I = 0; I < All.size(); ++I) {
    EXPECT_EQ(All[I].Index, I);
    Questions += All[I].OpCode != 0x01;
    Flagged += All[I].Flags != 0;
  }
  EXPECT_EQ(Questions, 153u);
  EXPECT_GT(Flagged, 0u) << "suppressed questions are listed too";
  EXPECT_EQ(All.front().OpCode, 0x01);
  EXPECT_EQ(All.front().Prompt, u"Main");

  const Seen *Quiet = Find(All, u"Quiet Boot");
  ASSERT_NE(Quiet, nullptr);
  EXPECT_EQ(Quiet->Value, 1u);
  EXPECT_EQ(Quiet->FormId, All.front().FormId) << "a question carries its form's id";
  EXPECT_EQ(Quiet->Options, (std::vector<std::pair<uint32_t, std::u16string>>{{1, u"Enabled"}, {0, u"Disabled"}}));
  const Seen *Threshold = Find(All, u"CPU Temperature Warning Threshold");
  ASSERT_NE(Threshold, nullptr);
  EXPECT_EQ(Threshold->OptionKind, BIOS_CONFIG_OPTIONS_RANGE);
  EXPECT_EQ(Threshold->OptionCount, 7u);  // 70..100 by 5
  const Seen *Baud = Find(All, u"Baud Rate");
  ASSERT_NE(Baud, nullptr);
  EXPECT_EQ(Baud->Flags, static_cast<uint32_t>(BIOS_CONFIG_QUESTION_SUPPRESSED));
}

TEST_F(Enumeration, FormsNestByTheirReferences) {
  const std::vector<Seen> All = Enumerate();
  std::map<std::u16string, const Seen *> Forms;
  std::map<uint16_t, std::u16string> TitleOf;
  for (const Seen &S : All) {
    if (S.OpCode != 0x01) continue;
    Forms[S.Prompt] = &S;
    TitleOf[S.FormId] = S.Prompt;
  }
  ASSERT_TRUE(Forms.count(u"Processor Configuration") && Forms.count(u"Console Redirection"));
  EXPECT_EQ(TitleOf[Forms[u"Processor Configuration"]->Parent], u"Advanced");
  EXPECT_EQ(TitleOf[Forms[u"Console Redirection"]->Parent], u"Server Management");
  EXPECT_EQ(Forms[u"Main"]->Parent, 0u) << "no form leads to Main";
}

TEST_F(Enumeration, PagesAndStopsMatchTheWholeList) {
  const std::vector<Seen> All = Enumerate();
  const std::vector<Seen> Page = Enumerate(100, 10);
  ASSERT_EQ(Page.size(), 10u);
  for (size_t I = 0; I < Page.size(); ++I) {
    EXPECT_EQ(Page[I].Index, 100 + I);
    EXPECT_EQ(Page[I].Prompt, All[100 + I].Prompt);
  }
  EXPECT_TRUE(Enumerate(static_cast<uint32_t>(All.size())).empty());
  EXPECT_EQ(Extensions()->EnumerateQuestions(Extensions(), 0, nullptr, nullptr), BCFG_E_INVALID_PARAMETER);
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  Collector C;
  EXPECT_EQ(Extensions()->EnumerateQuestions(Extensions(), 0, Collect, &C), BCFG_E_GENERAL_FAILURE);
}

TEST_F(Enumeration, TheVariablesTheFormsNameComeOnceEach) {
  std::vector<std::pair<std::u16string, EFI_GUID>> Named;
  ASSERT_EQ(Extensions()->EnumerateVariables(Extensions(), KeepVariable, &Named), EFI_SUCCESS);
  ASSERT_EQ(Named.size(), 5u);
  EXPECT_EQ(Named[0].first, u"Setup");
  for (size_t A = 0; A < Named.size(); ++A) {
    for (size_t B = A + 1; B < Named.size(); ++B) {
      EXPECT_FALSE(Named[A].first == Named[B].first && std::memcmp(&Named[A].second, &Named[B].second, 16) == 0);
    }
  }
}

}  // namespace

// How options are kept: numeric ranges instead of a node per value, texts
// made once per database below 4 GiB, one block per one-of, a few pool
// allocations per load, and all-or-nothing options under memory pressure.
#include "forms_fixture.h"

#include <map>
#include <set>

namespace forms_test {
namespace {

class OptionStorageTest : public FormsTest {
 protected:
  // Retrieves Export and parses it with the firmware's call counters
  // counting the parse alone.
  void ParseCounting(const Bytes &Export) {
    PutSetup(Bytes(8, 0));
    InstallBytes(Export);
    ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    Fw().ResetCounters();
    ASSERT_EQ(Forms().ParseForms(), EFI_SUCCESS);
  }
};
using Texts = std::vector<std::u16string>;

// Forty options, more than the collection's first growth step holds; the
// first one's text names the question.
std::vector<hiibuild::OptionEntry> ManyOptions(const std::u16string &Question) {
  std::vector<hiibuild::OptionEntry> Options = {{Question, 40}};
  for (uint16_t Value = 1; Value < 40; ++Value) Options.push_back({u"Choice " + std::u16string(1, u'A' + Value % 26), Value});
  return Options;
}

// Count questions of each kind, with distinct prompts, in forms of 25;
// the numeric ones range up to NumericMaximum.
Bytes ManyQuestions(int Count, uint16_t NumericMaximum) {
  ExportBuilder Export;
  IfrBuilder &Ifr = StartForms(Export);
  for (int Q = 0; Q < Count; ++Q) {
    if (Q % 25 == 24) Ifr.EndForm().Form(static_cast<uint16_t>(2 + Q / 25), u"Form " + std::u16string(1, u'a' + Q % 26));
    std::string Name = "Q" + std::to_string(Q);
    std::u16string Prompt(Name.begin(), Name.end());
    switch (Q % 4) {
      case 0: Ifr.OneOfWithOptions(0, 1, Prompt, {{u"Off", 0}, {u"On", 1}, {u"Auto", 2}}, 0); break;
      case 1: Ifr.CheckBox(1, 1, Prompt); break;
      case 2: Ifr.Numeric(2, 2, Prompt, {Q % 8 == 2 ? uint16_t{0} : uint16_t{10}, NumericMaximum, 1, 0}); break;
      default: Ifr.OneOfWithOptions(3, 1, Prompt, ManyOptions(Prompt), 0); break;
    }
  }
  Ifr.EndForm().EndFormSet();
  return Export.Build();
}

struct Kept {
  std::u16string Prompt;
  std::vector<std::pair<std::u16string, uint32_t>> Options;
};

std::vector<Kept> Snapshot(const std::vector<const SetupQuestion *> &Records) {
  std::vector<Kept> Out;
  for (const SetupQuestion *Q : Records) {
    Kept K{Prompt(Q), {}};
    for (const OptionView &O : OptionsOf(Q)) K.Options.push_back({Str(O.Text, O.TextLength), O.Value});
    Out.push_back(K);
  }
  return Out;
}

TEST_F(OptionStorageTest, ALoadTakesAFewPoolAllocationsWhateverItsOptions) {
  ParseCounting(ManyQuestions(2000, 65535));
  // 2,000 questions, 500 numeric ones with up to 65,536 options and 500
  // one-ofs with 40: the records take a few growing blocks, and no option
  // or opcode takes one of its own.
  EXPECT_LE(Fw().Calls(sim::Service::AllocatePool) + Fw().Calls(sim::Service::AllocatePages), 24u);
  EXPECT_EQ(Questions().size(), 2000u);
  EXPECT_EQ(OptionsOf(Questions()[2]).size(), 65536u);
  std::vector<uint32_t> Reversed;
  for (uint32_t Value = 40; Value-- > 1;) Reversed.push_back(Value);
  Reversed.push_back(40);
  EXPECT_EQ(OptionValues(Questions()[3]), Reversed);
}

// "Enabled", "Disabled" and the numeric texts exist once per database, made
// when first needed, below 4 GiB, whatever the number of questions.
TEST_F(OptionStorageTest, MadeTextsAreSharedAndMadeOnlyWhenNeeded) {
  struct Case {
    const char *Name;
    bool Checkboxes, Numerics;
    size_t TextRuns;
  };
  for (const Case &C : {Case{"neither", false, false, 0}, Case{"checkboxes", true, false, 1},
                        Case{"numerics", false, true, 1}, Case{"both", true, true, 2}}) {
    SCOPED_TRACE(C.Name);
    ExportBuilder Export;
    IfrBuilder &Ifr = StartForms(Export).OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0);
    for (int Copy = 0; Copy < 2; ++Copy) {
      if (C.Checkboxes) Ifr.CheckBox(1, 1, u"Box");
      if (C.Numerics) Ifr.Numeric(2, 2, u"Number", {Copy == 0 ? uint16_t{5} : uint16_t{7}, 10007, 1, 0});
    }
    Ifr.EndForm().EndFormSet();
    PutSetup(Bytes(4, 0));
    Install(Export);
    ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    const size_t RunsBefore = Fw().LivePageRuns();
    ASSERT_EQ(Forms().ParseForms(), EFI_SUCCESS);
    EXPECT_EQ(Fw().LivePageRuns() - RunsBefore, C.TextRuns);

    std::map<std::u16string, std::set<const CHAR16 *>> TextAddresses;
    for (const SetupQuestion *Q : Questions()) {
      for (const OptionView &O : OptionsOf(Q)) {
        TextAddresses[Str(O.Text, O.TextLength)].insert(O.Text);
        EXPECT_LE(reinterpret_cast<uintptr_t>(O.Text) + 2 * (O.TextLength + 1), 0x100000000ull);
      }
    }
    for (const auto &[Text, Addresses] : TextAddresses) {
      EXPECT_EQ(Addresses.size(), 1u) << std::string(Text.begin(), Text.end());
    }
    if (C.Numerics) {
      EXPECT_EQ(TextAddresses[u"1000"].size(), 1u);  // 1000, 10000..10007 share it
    }
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

// The value check agrees with the enumeration for every 32-bit value that
// matters: ranges are checked arithmetically, lists by walking them.
TEST_F(OptionStorageTest, AcceptedValuesAreExactlyTheEnumeratedOnes) {
  const hiibuild::NumericRange Ranges[] = {
      {0, 3, 1, 0},       {0, 10, 4, 0},     {1234, 1234, 1, 0}, {6, 5, 1, 0},   {1, 3, 0, 0},
      {9990, 10030, 7, 0}, {0, 65535, 1, 0}, {65534, 65535, 7, 0}, {3, 65535, 32768, 0}, {100, 200, 33, 0},
  };
  ExportBuilder Export;
  IfrBuilder &Ifr = StartForms(Export);
  for (const auto &Range : Ranges) Ifr.Numeric(0, 2, u"N", Range);
  Ifr.OneOfWithOptions(0, 2, u"Pick", {{u"X", 0}, {u"Y", 0x100}, {u"Z", 0xFFFF}}, 0).CheckBox(0, 1, u"Box");
  Ifr.EndForm().EndFormSet();
  PutSetup(Bytes(2, 0));
  Load(Export);
  std::vector<uint32_t> Probes = {0xFFFFFFFFu, 0x10000u, 0x10100u, 0x1FFFFu};
  for (uint32_t Value = 0; Value <= 0x10010; ++Value) Probes.push_back(Value);
  for (const SetupQuestion *Q : Questions()) {
    const std::vector<uint32_t> Values = OptionValues(Q);
    const std::set<uint32_t> Allowed(Values.begin(), Values.end());
    EXPECT_EQ(!OptionsOf(Q).empty(), !Values.empty());
    size_t Mismatches = 0;
    for (uint32_t Value : Probes) {
      const bool Expected = Allowed.empty() || Allowed.count(Value) != 0;
      if (QuestionAcceptsValue(*Q, Value) != Expected) ++Mismatches;
    }
    EXPECT_EQ(Mismatches, 0u) << testing::PrintToString(Prompt(Q)) << " with " << Values.size() << " options";
  }
}

// Whichever pool or page allocation of a load fails, the parse goes on: a
// record that could not be had is missing, and every record that is there
// has all of its options or none (its option block, room for one of its
// one-of options, or the shared texts could not be had). Nothing is left
// behind after the discard.
TEST_F(OptionStorageTest, UnderMemoryPressureEachQuestionKeepsAllItsOptionsOrNone) {
  size_t QuestionsLeftWithoutOptions = 0, LoadsWithRecordsMissing = 0;
  ParseCounting(ManyQuestions(300, 20));
  const std::vector<Kept> Whole = Snapshot(Records());
  const uint64_t PoolCalls = Fw().Calls(sim::Service::AllocatePool);
  const uint64_t PageCalls = Fw().Calls(sim::Service::AllocatePages);
  ASSERT_EQ(Forms().DiscardForms(), EFI_SUCCESS);

  for (sim::Service Service : {sim::Service::AllocatePool, sim::Service::AllocatePages}) {
    const uint64_t Calls = Service == sim::Service::AllocatePool ? PoolCalls : PageCalls;
    for (uint64_t N = 1; N <= Calls; ++N) {
      SCOPED_TRACE(testing::Message() << sim::ServiceName(Service) << " call " << N << " fails");
      ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
      Fw().FailNthCall(Service, N, EFI_OUT_OF_RESOURCES);
      EXPECT_EQ(Forms().ParseForms(), EFI_SUCCESS);
      Fw().ClearFaults();
      const std::vector<Kept> Loaded = Snapshot(Records());
      if (Loaded.size() < Whole.size()) ++LoadsWithRecordsMissing;
      size_t At = 0;
      for (const Kept &Got : Loaded) {
        while (At < Whole.size() && Whole[At].Prompt != Got.Prompt) ++At;
        ASSERT_LT(At, Whole.size()) << "unexpected record";
        if (Got.Options.empty() && !Whole[At].Options.empty()) ++QuestionsLeftWithoutOptions;
        if (!Got.Options.empty()) {
          EXPECT_EQ(Got.Options, Whole[At].Options);
        }
        ++At;
      }
      EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    }
  }
  // Both failures happened somewhere in the sweep.
  EXPECT_GT(QuestionsLeftWithoutOptions, 0u);
  EXPECT_GT(LoadsWithRecordsMissing, 0u);
}

// A one-of whose record cannot be had is passed over with its options: they
// must not become those of the question before it. Records are carved out
// of growing blocks, so the one-of's record is made to need a new block by
// putting ever more checkboxes before it, and each pool call of the parse
// is failed in turn.
TEST_F(OptionStorageTest, AOneOfPassedOverTakesItsOptionsAlong) {
  size_t OneOfsPassedOver = 0;
  for (int Boxes = 1; Boxes <= 100; ++Boxes) {
    ExportBuilder Export;
    IfrBuilder &Ifr = StartForms(Export);
    for (int Box = 0; Box < Boxes; ++Box) Ifr.CheckBox(1, 1, u"Box");
    Ifr.OneOfWithOptions(0, 1, u"Mode", {{u"A", 0}, {u"B", 1}}, 0).EndForm().EndFormSet();
    ParseCounting(Export.Build());
    const uint64_t PoolCalls = Fw().Calls(sim::Service::AllocatePool);
    ASSERT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    for (uint64_t N = 1; N <= PoolCalls; ++N) {
      SCOPED_TRACE(testing::Message() << Boxes << " boxes, pool call " << N << " fails");
      ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
      Fw().FailNthCall(sim::Service::AllocatePool, N, EFI_OUT_OF_RESOURCES);
      EXPECT_EQ(Forms().ParseForms(), EFI_SUCCESS);
      Fw().ClearFaults();
      for (const SetupQuestion *Q : Questions()) {
        if (Q->OpCode == IFR_CHECKBOX_OP && !OptionsOf(Q).empty()) {
          EXPECT_EQ(OptionTexts(Q), (Texts{u"Enabled", u"Disabled"}));
        }
      }
      if (Prompts().back() != u"Mode") ++OneOfsPassedOver;
      EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    }
  }
  EXPECT_GT(OneOfsPassedOver, 0u);
}

}  // namespace
}  // namespace forms_test

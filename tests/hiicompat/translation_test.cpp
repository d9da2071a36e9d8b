// What the driver parses out of hiicompat's export: the form set and its
// forms, one-of (with options), checkbox and numeric (range and step)
// questions on EFI variable and buffer stores, the kinds left out and
// counted, the questions carried over grayed out, strings in every block
// kind, and the language chosen.
#include "forms/setup_question.h"
#include "tests/hiicompat/modern_platform.h"

namespace compat_test {
namespace {

constexpr EFI_GUID kEfiStoreGuid = {0x6c1f00aa, 0x2e51, 0x4b73, {0x9a, 0x6d, 0x10, 0xe2, 0x3c, 0x47, 0x5b, 0x81}};
constexpr EFI_GUID kBitFieldGuid = {0x82DDD68B, 0x9163, 0x4187, {0x9B, 0x27, 0x20, 0xA8, 0xFD, 0x60, 0xA7, 0x1D}};
constexpr EFI_GUID kGlobalGuid = EFI_GLOBAL_VARIABLE;

class TranslationTest : public CompatImageTest {
 protected:
  EFI_HANDLE Owner = nullptr;

  // Registers W's list with an owner of "Conf" (16 bytes) and EfiConf (8 bytes).
  void Register(const FormSetWriter &W, std::vector<uint8_t> Conf = std::vector<uint8_t>(16, 0)) {
    Owner = Fw().AddStoreOwner(uefihii::VendorDevicePath(kOwnerGuid), {sim::BufferStore{kStoreGuid, u"Conf", Conf}});
    Fw().PutVariable(u"EfiConf", kEfiStoreGuid, kEfiStoreAttributes, std::vector<uint8_t>(8, 0));
    ASSERT_EQ(Fw().AddPackageList(W.List(), Owner), EFI_SUCCESS);
  }
  static void Stores(FormSetWriter &W) {
    W.Ifr.VarStore(kStoreGuid, 1, 16, "Conf");
    W.Ifr.VarStoreEfi(2, kEfiStoreGuid, kEfiStoreAttributes, 8, "EfiConf");
    W.Ifr.VarStoreNameValue(3, kStoreGuid);
    W.Ifr.End();
  }
  static uefihii::Question Q(EFI_STRING_ID Prompt, EFI_QUESTION_ID Id, EFI_VARSTORE_ID Store, uint16_t Offset,
                             uint8_t Flags = 0) {
    return uefihii::Question{Prompt, 0, Id, Store, Offset, Flags};
  }
};

TEST_F(TranslationTest, EveryKindIsCarriedOverOrLeftOutAndCounted) {
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Advanced"), 0);
  Stores(W);
  W.Ifr.Form(7, W.S(u"First"));
  W.Ifr.OneOf(Q(W.S(u"Wake"), 1, 2, 0), 1);
  W.Ifr.Option(W.S(u"Never"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.Option(W.S(u"Daily"), 3, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.End();
  W.Ifr.CheckBox(Q(W.S(u"Turbo"), 2, 1, 1));
  W.Ifr.Numeric(Q(W.S(u"Ratio"), 3, 1, 2), 2, 8, 40, 4);
  W.Ifr.Numeric(Q(W.S(u"Any"), 4, 1, 4), 1, 1, 5, 0);
  W.Ifr.End();
  W.Ifr.Form(8, W.S(u"Second"));
  W.Ifr.String(Q(W.S(u"Name"), 10, 1, 6), 0, 4);
  W.Ifr.Password(Q(W.S(u"Secret"), 11, 0, 0), 0, 8);
  W.Ifr.Date(Q(W.S(u"Day"), 12, 0, 0));
  W.Ifr.Time(Q(W.S(u"Clock"), 13, 0, 0));
  W.Ifr.OrderedList(Q(W.S(u"Order"), 14, 1, 8), 4);
  W.Ifr.Option(W.S(u"A"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.End();
  W.Ifr.Action(Q(W.S(u"Apply"), 15, 0, 0, EFI_IFR_FLAG_CALLBACK), 0);
  W.Ifr.Numeric(Q(W.S(u"Huge"), 16, 1, 8), 8, 0, 100, 1);
  W.Ifr.Numeric(Q(W.S(u"Wide"), 17, 1, 12), 4, 0, 70000, 1);
  W.Ifr.OneOf(Q(W.S(u"Far"), 18, 1, 12), 4);
  W.Ifr.Option(W.S(u"Big"), 0x10000, EFI_IFR_TYPE_NUM_SIZE_32);
  W.Ifr.End();
  W.Ifr.CheckBox(Q(W.S(u"Named"), 19, 3, W.S(u"Value")));
  W.Ifr.CheckBox(Q(W.S(u"Lost"), 20, 9, 0));
  W.Ifr.Guid(kBitFieldGuid, {}, true);
  W.Ifr.CheckBox(Q(W.S(u"Bit"), 21, 1, 3));
  W.Ifr.End();
  W.Ifr.DisableIf();
  W.Ifr.Bare(EFI_IFR_TRUE_OP);
  W.Ifr.CheckBox(Q(W.S(u"Gone"), 22, 1, 5));
  W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  Register(W);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  const std::string Console = Fw().ConsoleText();
  EXPECT_NE(Console.find("1 form sets: carried over 1 one-of, 1 checkbox, 2 numeric (0 of them grayed out)"),
            std::string::npos)
      << Console;
  EXPECT_NE(Console.find("left out: 1 string, 1 password, 1 date, 1 time, 1 ordered list, 1 action, 1 8-byte numeric, "
                         "2 values past 16 bits, 1 bit-field store, 1 name/value store, 1 undeclared store, 1 disabled"),
            std::string::npos)
      << Console;
  EXPECT_NE(Console.find("buffer stores: 1, read and written through Config Routing"), std::string::npos);

  StartDriver();
  std::vector<std::u16string> Listed;
  for (const SetupQuestion *R : Records()) Listed.push_back(PromptOf(R));
  EXPECT_EQ(Listed, (std::vector<std::u16string>{u"First", u"Wake", u"Turbo", u"Ratio", u"Any", u"Second"}));
  const SetupQuestion *Wake = Record(u"Wake");
  EXPECT_EQ(Wake->OpCode, IFR_ONE_OF_OP);
  // The driver keeps a question's options last first.
  EXPECT_EQ(OptionTextsOf(Wake), (std::vector<std::u16string>{u"Daily", u"Never"}));
  EXPECT_EQ(OptionValuesOf(Wake), (std::vector<uint32_t>{3, 0}));
  EXPECT_EQ(Record(u"Turbo")->OpCode, IFR_CHECKBOX_OP);
  EXPECT_EQ(Record(u"Turbo")->Offset, 1);
  const SetupQuestion *Ratio = Record(u"Ratio");
  EXPECT_EQ(Ratio->Width, 2);
  EXPECT_EQ(Ratio->Offset, 2);
  EXPECT_EQ(OptionValuesOf(Ratio), (std::vector<uint32_t>{40, 36, 32, 28, 24, 20, 16, 12, 8}));
  EXPECT_EQ(OptionValuesOf(Record(u"Any")), (std::vector<uint32_t>{5, 4, 3, 2, 1})) << "step 0: every value";
  for (const SetupQuestion *R : Records()) EXPECT_EQ(R->Flags, 0u) << "nothing here is conditional";
  EXPECT_EQ(Records()[0]->FormId, 7);
}

TEST_F(TranslationTest, QuestionsNothingMayWriteAreGrayedOut) {
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Set"), 0);
  Stores(W);
  W.Ifr.Form(1, W.S(u"Main"));
  W.Ifr.CheckBox(Q(W.S(u"Plain"), 1, 1, 0));
  W.Ifr.CheckBox(Q(W.S(u"Callback"), 2, 1, 1, EFI_IFR_FLAG_CALLBACK));
  W.Ifr.CheckBox(Q(W.S(u"Fixed"), 3, 1, 2, EFI_IFR_FLAG_READ_ONLY));
  W.Ifr.OneOf(Q(W.S(u"Nowhere"), 4, 0, 0, EFI_IFR_FLAG_CALLBACK), 1);
  W.Ifr.Option(W.S(u"Boot data"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.Option(W.S(u"Reserved"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  Register(W);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  StartDriver();
  EXPECT_EQ(Record(u"Plain")->Flags, 0u);
  EXPECT_EQ(Record(u"Callback")->Flags, SETUP_QUESTION_GRAYED_OUT);
  EXPECT_EQ(Record(u"Fixed")->Flags, SETUP_QUESTION_GRAYED_OUT);
  const SetupQuestion *Nowhere = Record(u"Nowhere");
  EXPECT_EQ(Nowhere->Flags, SETUP_QUESTION_GRAYED_OUT);
  EXPECT_EQ(Nowhere->Width, 0) << "a question without storage reads nothing";
  EXPECT_EQ(OptionTextsOf(Nowhere), (std::vector<std::u16string>{u"Reserved", u"Boot data"}));
}

TEST_F(TranslationTest, SuppressedOptionsAreLeftOutByTheirCurrentValue) {
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Set"), 0);
  Stores(W);
  W.Ifr.Form(1, W.S(u"Main"));
  W.Ifr.CheckBox(Q(W.S(u"Expert"), 1, 1, 0));
  W.Ifr.OneOf(Q(W.S(u"Speed"), 2, 1, 1), 1);
  W.Ifr.Option(W.S(u"Slow"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.SuppressIf();
  W.Ifr.EqIdVal(1, 0);
  W.Ifr.Option(W.S(u"Fast"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  Register(W, std::vector<uint8_t>(16, 0));
  ASSERT_EQ(Load(), EFI_SUCCESS);
  StartDriver();
  EXPECT_EQ(OptionTextsOf(Record(u"Speed")), (std::vector<std::u16string>{u"Slow"})) << "Expert is 0";
  Fw().SetOwnedStore(Owner, sim::BufferStore{kStoreGuid, u"Conf", std::vector<uint8_t>{1, 0, 0, 0, 0, 0, 0, 0, 0,
                                                                                      0, 0, 0, 0, 0, 0, 0}});
  ReloadForms();
  EXPECT_EQ(OptionTextsOf(Record(u"Speed")), (std::vector<std::u16string>{u"Fast", u"Slow"})) << "a new export";
}

TEST_F(TranslationTest, StringsInEveryBlockKindAndTheLanguageChosen) {
  FormSetWriter W;
  W.Strings = uefihii::StringPackage("en-US");
  const EFI_STRING_ID Title = W.S(u"Set");  // 1
  // 2: 8-bit text; 3, 4: a run of two; 5, 6 skipped; 7 repeats 3; an
  // extension block; 8: a text with a font.
  uefihii::Bytes Blocks = {EFI_HII_SIBT_STRING_SCSU, 'N', 'a', 'r', 'r', 'o', 'w', 0};
  Blocks.insert(Blocks.end(), {EFI_HII_SIBT_STRINGS_UCS2, 2, 0, 'T', 0, 'w', 0, 'o', 0, 0, 0, 'R', 0, 'u', 0, 'n', 0, 0, 0});
  Blocks.insert(Blocks.end(), {EFI_HII_SIBT_SKIP1, 2, EFI_HII_SIBT_DUPLICATE, 3, 0});
  Blocks.insert(Blocks.end(), {EFI_HII_SIBT_EXT1, 0x40, 5, 0xAA, 0xBB});
  Blocks.insert(Blocks.end(), {EFI_HII_SIBT_STRING_UCS2_FONT, 1, 'F', 0, 'o', 0, 'n', 0, 't', 0, 0, 0});
  W.Strings.AddBlocks(Blocks, 7);
  uefihii::StringPackage French("fr-FR");
  French.Add(u"Ensemble");
  for (int Id = 2; Id <= 8; ++Id) French.Add(u"Français");
  uefihii::StringPackage Config("x-UEFI-ns");
  for (int Id = 1; Id <= 8; ++Id) Config.Add(u"KEYWORD");

  W.Ifr.FormSet(kFormSetGuid, Title, 0);
  Stores(W);
  W.Ifr.Form(1, 2);
  for (uint16_t Id = 3; Id <= 8; ++Id) W.Ifr.CheckBox(Q(Id, Id, 1, static_cast<uint16_t>(Id - 3)));
  W.Ifr.End();
  W.Ifr.End();
  uefihii::PackageList L(kListGuid);
  L.AddForms(W.Ifr);
  L.AddStrings(Config);
  L.AddStrings(French);
  L.AddStrings(W.Strings);
  Owner = Fw().AddStoreOwner(uefihii::VendorDevicePath(kOwnerGuid),
                             {sim::BufferStore{kStoreGuid, u"Conf", std::vector<uint8_t>(16, 0)}});
  ASSERT_EQ(Fw().AddPackageList(L.Build(), Owner), EFI_SUCCESS);
  // The platform speaks French: the English strings are still chosen.
  const std::string Lang = "fr-FR";
  Fw().PutVariable(u"PlatformLang", kGlobalGuid, kEfiStoreAttributes, std::vector<uint8_t>(Lang.begin(), Lang.end() + 1));
  ASSERT_EQ(Load(), EFI_SUCCESS);
  StartDriver();
  std::vector<std::u16string> Listed;
  for (const SetupQuestion *R : Records()) Listed.push_back(PromptOf(R));
  EXPECT_EQ(Listed, (std::vector<std::u16string>{u"Narrow", u"Two", u"Run", u"", u"", u"Two", u"Font"}));
}

}  // namespace
}  // namespace compat_test

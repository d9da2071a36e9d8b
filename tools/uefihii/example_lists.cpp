#include "tools/uefihii/example_lists.h"

namespace uefihii {

namespace {

constexpr UINT32 EFI_STORE_ATTRIBUTES = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr EFI_GUID BIT_FIELD_GUID = {0x82DDD68B, 0x9163, 0x4187, {0x9B, 0x27, 0x20, 0xA8, 0xFD, 0x60, 0xA7, 0x1D}};

Bytes Finish(IfrWriter &Ifr, const std::vector<StringPackage> &Strings) {
  PackageList List(kExampleFormSetGuid);
  List.AddForms(Ifr);
  for (const StringPackage &S : Strings) List.AddStrings(S);
  List.AddDevicePath(VendorDevicePath(kExampleOwnerGuid));
  return List.Build();
}

void Stores(IfrWriter &Ifr) {
  Ifr.VarStore(kExampleStoreGuid, 1, 32, "Conf");
  Ifr.VarStoreEfi(2, kExampleStoreGuid, EFI_STORE_ATTRIBUTES, 8, "EfiConf");
  Ifr.VarStoreNameValue(3, kExampleStoreGuid);
  Ifr.End();
}

Bytes EveryKind() {
  IfrWriter Ifr;
  StringPackage S;
  Ifr.FormSet(kExampleFormSetGuid, S.Add(u"Set"), 0);
  Stores(Ifr);
  Ifr.Form(1, S.Add(u"Main"));
  Ifr.OneOf(Question{S.Add(u"Mode"), 0, 1, 1, 0, 0}, 1);
  Ifr.Option(S.Add(u"Off"), 0, EFI_IFR_TYPE_NUM_SIZE_8, EFI_IFR_OPTION_DEFAULT);
  Ifr.Option(S.Add(u"On"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  Ifr.End();
  Ifr.CheckBox(Question{S.Add(u"Beep"), 0, 2, 1, 1, 0});
  Ifr.Numeric(Question{S.Add(u"Delay"), 0, 3, 2, 2, 0}, 2, 0, 600, 0, 0, true);
  Ifr.Default(0, EFI_IFR_TYPE_NUM_SIZE_16, 30, 2);
  Ifr.End();
  Ifr.String(Question{S.Add(u"Name"), 0, 4, 1, 4, 0}, 0, 8);
  Ifr.Password(Question{S.Add(u"Secret"), 0, 5, 0, 0, 0}, 0, 8);
  Ifr.Date(Question{S.Add(u"Day"), 0, 6, 0, 0, 0});
  Ifr.Time(Question{S.Add(u"Clock"), 0, 7, 0, 0, 0});
  Ifr.OrderedList(Question{S.Add(u"Order"), 0, 8, 1, 20, 0}, 4);
  Ifr.Option(S.Add(u"A"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  Ifr.End();
  Ifr.Action(Question{S.Add(u"Apply"), 0, 9, 0, 0, EFI_IFR_FLAG_CALLBACK}, 0);
  Ifr.Numeric(Question{S.Add(u"Size"), 0, 10, 1, 24, 0}, 8, 1, ~0ull, 1);
  Ifr.CheckBox(Question{S.Add(u"Named"), 0, 11, 3, 1, 0});
  Ifr.Guid(BIT_FIELD_GUID, {}, true);
  Ifr.CheckBox(Question{S.Add(u"Bit"), 0, 12, 1, 3, 0});
  Ifr.End();
  Ifr.Label(0x1000);
  Ifr.Ref(Question{S.Add(u"Next"), 0, 13, 0, 0, 0}, 2);
  Ifr.End();
  Ifr.Form(2, S.Add(u"Second"));
  Ifr.Subtitle(S.Add(u"Sub"));
  Ifr.Text(S.Add(u"Info"), 0);
  Ifr.End();
  Ifr.End();
  return Finish(Ifr, {S});
}

Bytes Conditions() {
  IfrWriter Ifr;
  StringPackage S;
  Ifr.FormSet(kExampleFormSetGuid, S.Add(u"Set"), 0);
  Stores(Ifr);
  Ifr.Form(1, S.Add(u"Main"));
  Ifr.OneOf(Question{S.Add(u"A"), 0, 1, 1, 0, 0}, 1);
  Ifr.Option(S.Add(u"x"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
  Ifr.End();
  Ifr.OneOf(Question{S.Add(u"B"), 0, 2, 2, 0, 0}, 2);
  Ifr.Option(S.Add(u"y"), 7, EFI_IFR_TYPE_NUM_SIZE_16);
  Ifr.End();
  // A chain, a decided one, nested scopes, an option condition, disable-if.
  Ifr.SuppressIf();
  Ifr.EqIdVal(1, 1);
  Ifr.EqIdValList(2, {3, 7});
  Ifr.Bare(EFI_IFR_NOT_OP);
  Ifr.Bare(EFI_IFR_AND_OP);
  Ifr.GrayOutIf();
  Ifr.QuestionRef1(2);
  Ifr.Uint8(4);
  Ifr.Bare(EFI_IFR_GREATER_THAN_OP);
  Ifr.CheckBox(Question{S.Add(u"C"), 0, 3, 1, 2, 0});
  Ifr.End();
  Ifr.End();
  Ifr.DisableIf();
  Ifr.QuestionRef1(1);
  Ifr.Uint8(1);
  Ifr.Bare(EFI_IFR_ADD_OP);
  Ifr.Uint8(2);
  Ifr.Bare(EFI_IFR_EQUAL_OP);
  Ifr.CheckBox(Question{S.Add(u"D"), 0, 4, 1, 3, 0});
  Ifr.End();
  Ifr.OneOf(Question{S.Add(u"E"), 0, 5, 1, 4, 0}, 1);
  Ifr.SuppressIf();
  Ifr.EqIdId(1, 2);
  Ifr.Option(S.Add(u"hidden"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
  Ifr.End();
  Ifr.Option(S.Add(u"shown"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
  Ifr.End();
  Ifr.SuppressIf();
  Ifr.Bare(EFI_IFR_TRUE_OP);
  Ifr.Uint64(5);
  Ifr.Uint32(6);
  Ifr.Bare(EFI_IFR_CONDITIONAL_OP);
  Ifr.Bare(EFI_IFR_TO_BOOLEAN_OP);
  Ifr.Bare(EFI_IFR_DUP_OP);
  Ifr.Bare(EFI_IFR_AND_OP);
  Ifr.Numeric(Question{S.Add(u"F"), 0, 6, 2, 4, 0}, 4, 0, 100, 5);
  Ifr.End();
  Ifr.End();
  Ifr.End();
  return Finish(Ifr, {S});
}

Bytes Strings() {
  StringPackage English("en-US");
  English.Add(u"Set");
  English.AddBlocks({EFI_HII_SIBT_STRING_SCSU, 'M', 'a', 'i', 'n', 0, EFI_HII_SIBT_STRINGS_SCSU_FONT, 1, 2, 0, 'a', 0,
                     'b', 0, EFI_HII_SIBT_SKIP2, 3, 0, EFI_HII_SIBT_DUPLICATE, 2, 0, EFI_HII_SIBT_EXT2, 0x40, 6, 0,
                     1, 2, EFI_HII_SIBT_STRINGS_UCS2_FONT, 1, 1, 0, 'Q', 0, 0, 0},
                    9);
  StringPackage Config("x-UEFI-ns");
  Config.Add(u"KEY");
  StringPackage German("de-DE");
  German.Add(u"Satz");
  IfrWriter Ifr;
  Ifr.FormSet(kExampleFormSetGuid, 1, 0);
  Stores(Ifr);
  Ifr.Form(1, 2);
  for (uint16_t Id = 3; Id <= 10; ++Id) Ifr.CheckBox(Question{Id, 0, Id, 1, static_cast<uint16_t>(Id - 3), 0});
  Ifr.End();
  Ifr.End();
  return Finish(Ifr, {Config, German, English});
}

}  // namespace

std::vector<std::pair<std::string, Bytes>> ExampleExports() {
  std::vector<std::pair<std::string, Bytes>> Seeds = {
      {"every_kind", EveryKind()}, {"conditions", Conditions()}, {"strings", Strings()}};
  Bytes Two = Seeds[0].second;
  Two.insert(Two.end(), Seeds[1].second.begin(), Seeds[1].second.end());
  Seeds.emplace_back("two_lists", Two);
  return Seeds;
}

}  // namespace uefihii

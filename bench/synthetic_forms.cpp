#include "bench/synthetic_forms.h"

#include "tools/hiibuild/hii_export_builder.h"

#include <string>

namespace bench {

using hiibuild::Text;

static constexpr EFI_GUID kSyntheticFormSetGuid = {
    0xfc77aa1f, 0xcd5e, 0x470b, {0x91, 0x55, 0x65, 0x8e, 0x66, 0x1b, 0x27, 0xdd}};

static std::u16string Wide(const std::string &Text) { return std::u16string(Text.begin(), Text.end()); }

SyntheticDatabase BuildSyntheticDatabase(const SyntheticShape &Shape) {
  SyntheticDatabase Db;
  hiibuild::ExportBuilder Export;
  hiibuild::DataTableBuilder &Table = Export.AddTable(kSyntheticFormSetGuid, {"eng", "fra"});
  // Forms take turns over the variables; each variable holds its forms' values.
  const int Forms = (Shape.Questions + Shape.QuestionsPerForm - 1) / Shape.QuestionsPerForm;
  const int PerVariable = (Forms + Shape.Variables - 1) / Shape.Variables * Shape.QuestionsPerForm;
  std::vector<hiibuild::VariableImage> Images;
  for (int V = 0; V < Shape.Variables; ++V) {
    EFI_GUID Guid = kSyntheticFormSetGuid;
    Guid.Data4[7] = static_cast<UINT8>(V);
    std::u16string Name = Wide("Synthetic" + std::to_string(V));
    Table.VariablePack(Guid, static_cast<uint16_t>(V + 1), Name);
    Db.Variables.push_back({Name, Guid, platform::SAMPLE_VARIABLE_ATTRIBUTES, {}});
    Images.emplace_back(static_cast<size_t>(PerVariable));
  }

  hiibuild::IfrBuilder &Ifr = Table.Ifr();
  Ifr.FormSet(kSyntheticFormSetGuid, u"Synthetic Setup");
  const std::vector<hiibuild::OptionEntry> Choices = {{u"Off", 0}, {u"Low", 1}, {u"High", 2}, {u"Auto", 3}};
  std::vector<uint16_t> NextOffset(static_cast<size_t>(Shape.Variables), 0);
  int Variable = 0;
  for (int Q = 0; Q < Shape.Questions; ++Q) {
    if (Q % Shape.QuestionsPerForm == 0) {
      if (Q != 0) Ifr.EndForm();
      int Form = Q / Shape.QuestionsPerForm;
      Ifr.Form(static_cast<uint16_t>(100 + Form), Wide("Form " + std::to_string(Form)));
      Variable = Form % Shape.Variables;
      Ifr.VarStoreSelect(static_cast<uint16_t>(Variable + 1));
    }
    auto V = static_cast<size_t>(Variable);
    const uint16_t Offset = NextOffset[V]++;
    // Every fifth question depends on the one before it in its variable;
    // every tenth on the two before it.
    if (Q % 5 == 0 && Offset >= 2) {
      Ifr.SuppressIf().EqIdVal(static_cast<uint16_t>(Offset - 1), 1, 3);
      ++Db.ConditionTerms;
      if (Q % 10 == 0) {
        Ifr.EqIdList(static_cast<uint16_t>(Offset - 2), 1, {2, 3});
        Q % 20 == 0 ? Ifr.And() : Ifr.Or();
        ++Db.ConditionTerms;
      }
    }
    std::u16string Prompt = Wide("Setting " + std::to_string(Q));
    uint8_t Value = static_cast<uint8_t>(Q % 3);
    switch (Q % 3) {
      case 0: Ifr.OneOfWithOptions(Offset, 1, Prompt, Choices, Value); break;
      case 1: Ifr.CheckBox(Offset, 1, Prompt, {}, hiibuild::IFR_FLAG_DEFAULT); break;
      default: Ifr.Numeric(Offset, 1, Prompt, {.Minimum = 0, .Maximum = 15, .Step = 1, .Default = Value}); break;
    }
    Images[V].Set(Offset, 1, Value);
    if (Q % 5 == 0 && Offset >= 2) Ifr.EndIf();
  }
  Ifr.EndForm().EndFormSet();
  Db.Questions = Shape.Questions;
  for (size_t V = 0; V < Images.size(); ++V) Db.Variables[V].Data = Images[V].Data();
  Db.Export = Export.Build();
  Db.HiiProtocolGuid = Export.ProtocolGuid();
  return Db;
}

}  // namespace bench

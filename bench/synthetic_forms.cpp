#include "bench/synthetic_forms.h"

#include "hiibuild/host/hii_export_builder.h"

#include <string>

namespace bench {

using hiibuild::Text;

static constexpr EFI_GUID kSyntheticFormSetGuid = {
    0xfc77aa1f, 0xcd5e, 0x470b, {0x91, 0x55, 0x65, 0x8e, 0x66, 0x1b, 0x27, 0xdd}};

// A variable is read into 4096 bytes; larger ones cannot be read at all.
// Offsets wrap below that, so every question of a large database still has
// a value (questions far apart then share bytes, which nothing here minds).
static constexpr int VARIABLE_BYTES = 4000;

static std::u16string Wide(const std::string &Text) { return std::u16string(Text.begin(), Text.end()); }

// The allowed values of numeric question Q: 11 to 256 of them, stepping by
// 1, 2 or 5 from a small minimum, so that many reach two or three digits.
static hiibuild::NumericRange RangeOf(int Q) {
  const auto Count = static_cast<uint16_t>(11 + (Q * 37) % 246);
  const auto Step = static_cast<uint16_t>(Q % 3 == 0 ? 1 : Q % 3 == 1 ? 2 : 5);
  const auto Minimum = static_cast<uint16_t>((Q * 7) % 50);
  return {Minimum, static_cast<uint16_t>(Minimum + (Count - 1) * Step), Step, Minimum};
}

// Questions per data table: a table's string tokens are 16 bits, so a very
// large setup is split over several form sets, as firmware splits it.
static constexpr int QUESTIONS_PER_TABLE = 10000;

SyntheticDatabase BuildSyntheticDatabase(const SyntheticShape &Shape) {
  SyntheticDatabase Db;
  std::vector<hiibuild::VariableImage> Images;
  for (int V = 0; V < Shape.Variables; ++V) {
    EFI_GUID Guid = kSyntheticFormSetGuid;
    Guid.Data4[7] = static_cast<UINT8>(V);
    Db.Variables.push_back({Wide("Synthetic" + std::to_string(V)), Guid, platform::SAMPLE_VARIABLE_ATTRIBUTES, {}});
    Images.emplace_back(static_cast<size_t>(VARIABLE_BYTES));
  }

  hiibuild::ExportBuilder Export;
  hiibuild::IfrBuilder *Ifr = nullptr;
  const std::vector<hiibuild::OptionEntry> Choices = {{u"Off", 0}, {u"Low", 1}, {u"High", 2}, {u"Auto", 3}};
  std::vector<int> NextOffset(static_cast<size_t>(Shape.Variables), 0);
  // The full-range questions are spread over the database.
  const int FullRangeEvery = Shape.FullRangeNumerics > 0 ? Shape.Questions / Shape.FullRangeNumerics : 0;
  int Variable = 0;
  for (int Q = 0; Q < Shape.Questions; ++Q) {
    if (Q % QUESTIONS_PER_TABLE == 0) {
      if (Ifr != nullptr) Ifr->EndForm().EndFormSet();
      hiibuild::DataTableBuilder &Table = Export.AddTable(kSyntheticFormSetGuid, {"eng", "fra"});
      for (const platform::PlatformVariable &V : Db.Variables) {
        Table.VariablePack(V.Guid, static_cast<uint16_t>(&V - Db.Variables.data() + 1), V.Name);
      }
      Ifr = &Table.Ifr();
      Ifr->FormSet(kSyntheticFormSetGuid, u"Synthetic Setup");
    } else if (Q % Shape.QuestionsPerForm == 0) {
      Ifr->EndForm();
    }
    if (Q % Shape.QuestionsPerForm == 0) {
      int Form = Q / Shape.QuestionsPerForm;
      Ifr->Form(static_cast<uint16_t>(100 + Form), Wide("Form " + std::to_string(Form)));
      Variable = Form % Shape.Variables;
      Ifr->VarStoreSelect(static_cast<uint16_t>(Variable + 1));
    }
    auto V = static_cast<size_t>(Variable);
    // Two bytes per question, so a numeric value of any width fits.
    const auto Offset = static_cast<uint16_t>(NextOffset[V] % (VARIABLE_BYTES - 1));
    NextOffset[V] += 2;
    // Every fifth question depends on the one before it in its variable;
    // every tenth on the two before it.
    const bool Conditional = Q % 5 == 0 && Offset >= 4;
    if (Conditional) {
      Ifr->SuppressIf().EqIdVal(static_cast<uint16_t>(Offset - 2), 1, 3);
      ++Db.ConditionTerms;
      if (Q % 10 == 0) {
        Ifr->EqIdList(static_cast<uint16_t>(Offset - 4), 1, {2, 3});
        Q % 20 == 0 ? Ifr->And() : Ifr->Or();
        ++Db.ConditionTerms;
      }
    }
    std::u16string Prompt = Wide("Setting " + std::to_string(Q));
    uint16_t Value = static_cast<uint16_t>(Q % 3);
    if (FullRangeEvery > 0 && Q % FullRangeEvery == FullRangeEvery / 2) {
      Ifr->Numeric(Offset, 2, Prompt, {.Minimum = 0, .Maximum = 65535, .Step = 1, .Default = 0});
      Db.Options += 65536;
    } else if (Q % 3 == 0) {
      Ifr->OneOfWithOptions(Offset, 1, Prompt, Choices, Value);
      Db.Options += Choices.size();
    } else if (Q % 3 == 1) {
      Ifr->CheckBox(Offset, 1, Prompt, {}, IFR_FLAG_DEFAULT);
      Db.Options += 2;
    } else {
      const hiibuild::NumericRange Range = RangeOf(Q);
      Ifr->Numeric(Offset, 2, Prompt, Range);
      Value = Range.Minimum;
      Db.Options += (Range.Maximum - Range.Minimum) / Range.Step + 1;
    }
    Images[V].Set(Offset, 2, Value);
    if (Conditional) Ifr->EndIf();
  }
  if (Ifr != nullptr) Ifr->EndForm().EndFormSet();
  Db.Questions = Shape.Questions;
  for (size_t V = 0; V < Images.size(); ++V) Db.Variables[V].Data = Images[V].Data();
  Db.Export = Export.Build();
  Db.HiiProtocolGuid = Export.ProtocolGuid();
  return Db;
}

}  // namespace bench

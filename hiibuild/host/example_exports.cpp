#include "hiibuild/host/example_exports.h"

namespace hiibuild {
namespace {

ExampleExport Named(std::string Name, const ExportBuilder &Export) {
  return ExampleExport{std::move(Name), Export.Build(), Export.ProtocolGuid()};
}

// ---- well-formed ------------------------------------------------------------------

// Conditions of every kind over "Setup", one-of, checkbox and numeric questions.
ExportBuilder Conditions(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  Export.AddTable(FormSet)
      .Ifr()
      .FormSet(FormSet, u"Setup")
      .Form(1, u"Main")
      .SuppressIf()
      .EqIdVal(1, 1, 1)
      .And()
      .EqIdList(2, 2, {1, 2, 3})
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}, {u"Auto", 2}}, 0)
      .EndIf()
      .GrayOutIf()
      .Not()
      .EqIdVal(4, 4, 0)
      .Or()
      .EqIdId(1, 1, 2)
      .CheckBox(3, 1, u"Switch")
      .EndIf()
      .Hidden()
      .EqIdVal(5, 1, 2)
      .Numeric(6, 2, u"Count", {0, 20, 5, 0})
      .EndIf()
      .InconsistentIf(u"Bad")
      .EqIdVal(7, 1, 0)
      .EndIf()
      .EndForm()
      .EndFormSet();
  return Export;
}

// Variable packs and varstore opcodes, under the 20-byte header.
ExportBuilder Varstores(const EFI_GUID &FormSet, const EFI_GUID &Other) {
  ExportBuilder Export(ExportHeaderStyle::Extended);
  DataTableBuilder &Table = Export.AddTable(FormSet, {"fra", "eng"});
  Table.VariablePack(FormSet, 0, u"Setup").VariablePack(Other, 2, u"Other").VariablePack(Other, 3, u"Large");
  Table.Ifr()
      .FormSet(FormSet, Text(u"Setup", {{"fra", u"Configuration"}}))
      .VarStore(Other, 2, 4, "Other")
      .Form(1, u"Main")
      .CheckBox(0, 1, u"On other")
      .VarStoreSelect(0)
      .CheckBox(1, 1, u"Chained")
      .VarStoreSelectPair(3, 2)
      .OneOfWithOptions(0, 4, u"Large", {{u"A", 0}, {u"B", 1}}, 0)
      .VarStoreSelect(2)
      .SuppressIf()
      .EqIdVal(0, 1, 1)
      .VarStoreSelect(0)
      .Or()
      .EqIdVal(2, 1, 1)
      .CheckBox(2, 1, u"Mixed")
      .EndIf()
      .EndForm()
      .EndFormSet();
  return Export;
}

// Two tables, several languages, an ordered list, a form without questions,
// numeric ranges whose values reach five digits.
ExportBuilder TablesAndStrings(const EFI_GUID &FormSet, const EFI_GUID &Other) {
  ExportBuilder Export;
  Export.AddTable(FormSet, {"eng", "fra", "deu"})
      .Ifr()
      .FormSet(FormSet, u"Setup")
      .Form(1, Text(u"Main", {{"fra", u"Principal"}}))
      .Subtitle(u"Boot")
      .OrderedList(8, 3, u"Order")
      .Option(u"Disk", 1)
      .Option(u"Net", 2)
      .EndOneOf()
      .Form(2, Text::OnlyIn({{"fra", u"Vide"}}))
      .EndForm()
      .Numeric(10, 1, u"Delay", {1, 3, 1, 1})
      .Numeric(12, 2, u"Timeout", {9990, 10030, 7, 10000})
      .EndFormSet();
  Export.AddTable(Other)
      .Ifr()
      .FormSet(Other, u"Other")
      .Form(3, u"Second")
      .OneOfWithOptions(0, 2, u"Pick", {{u"X", 0}, {u"Y", 0x100}}, 0)
      .EndForm()
      .EndFormSet();
  return Export;
}

// Texts a listing must escape: quotes, backslashes, control characters and
// characters beyond ASCII, in prompts and option texts.
ExportBuilder EscapedTexts(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  Export.AddTable(FormSet)
      .Ifr()
      .FormSet(FormSet, u"Setup")
      .Form(1, u"Caf\u00e9 \"Main\"")
      .OneOfWithOptions(0, 1, u"Path \\ mode", {{u"\u4e2d\u6587", 0}, {u"Tab\there", 1}, {u"~\x7f", 2}}, 0)
      .CheckBox(1, 1, u"\u00a0Edge\u00ff")
      .EndForm()
      .EndFormSet();
  return Export;
}

// ---- malformed lengths --------------------------------------------------------------

// A form of one-of, checkbox and numeric questions over "Setup".
IfrBuilder &ThreeQuestions(IfrBuilder &Ifr, uint16_t FormId, const Text &Title) {
  return Ifr.Form(FormId, Title)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}, {u"Auto", 2}}, 0)
      .CheckBox(1, 1, u"Switch")
      .Numeric(2, 1, u"Level", {0, 3, 1, 0})
      .EndForm();
}

// The last table's size counts two bytes of a terminator the export lacks.
ExportBuilder TableSizePastExport(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  Export.AddTable(FormSet).Ifr().FormSet(FormSet, u"Setup").Form(1, u"First table").CheckBox(3, 1, u"Before")
      .EndForm().EndFormSet();
  DataTableBuilder &Last = Export.AddTable(FormSet).TableSize(LengthField::Plus(2));
  ThreeQuestions(Last.Ifr().FormSet(FormSet, u"Setup"), 2, u"Last table").EndFormSet();
  return Export;
}

// One table whose export lacks its last byte: half of the NUL of the last
// text, the prompt "Level", so the table, its "eng" string pack and that
// text all run one byte past the export.
Bytes OneByteShort(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  ThreeQuestions(Export.AddTable(FormSet).Ifr().FormSet(FormSet, u"Setup"), 1, u"Main").EndFormSet();
  Bytes Image = Export.Build();
  Image.pop_back();
  return Image;
}

// Three tables, each with one variable pack whose length is wrong but whose
// type, GUID, id and name are whole: a length of 0 (the walk stays on it),
// a length below the pack's header (the walk lands inside it) and a length
// far past the export. Each form's questions show which packs were found.
ExportBuilder VariablePackLengths(const EFI_GUID &FormSet, const EFI_GUID &Other) {
  ExportBuilder Export;
  DataTableBuilder &Zero = Export.AddTable(FormSet);
  Zero.VariablePack(FormSet, 1, u"Other", LengthField::Exactly(0)).VariablePack(Other, 2, u"Large");
  Zero.Ifr().FormSet(FormSet, u"Setup").Form(1, u"Length 0")
      .CheckBox(0, 1, u"Default store").VarStoreSelect(2).CheckBox(1, 1, u"Store 2")
      .VarStoreSelect(1).CheckBox(2, 1, u"Store 1")
      .EndForm().EndFormSet();

  DataTableBuilder &Short = Export.AddTable(FormSet);
  Short.VariablePack(FormSet, 1, u"Setup")
      .VariablePack(Other, 2, u"Other", LengthField::Exactly(3))
      .VariablePack(Other, 3, u"Large");
  Short.Ifr().FormSet(FormSet, u"Setup").Form(2, u"Length 3")
      .CheckBox(0, 1, u"Default store").VarStoreSelect(1).CheckBox(1, 1, u"Store 1")
      .VarStoreSelect(2).CheckBox(2, 1, u"Store 2").VarStoreSelect(3).CheckBox(3, 1, u"Store 3")
      .EndForm().EndFormSet();

  DataTableBuilder &Long = Export.AddTable(FormSet);
  Long.VariablePack(FormSet, 1, u"Setup").VariablePack(Other, 2, u"Other", LengthField::Exactly(0xFFFFFF00u));
  Long.Ifr().FormSet(FormSet, u"Setup").Form(3, u"Length past the export")
      .CheckBox(0, 1, u"Default store").VarStoreSelect(1).CheckBox(1, 1, u"Store 1")
      .VarStoreSelect(2).CheckBox(2, 1, u"Store 2")
      .EndForm().EndFormSet();
  return Export;
}

// The "eng" string pack, last in the export, claims 64 bytes more than
// there are.
ExportBuilder StringPackPastExport(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(FormSet, {"fra", "eng"});
  Table.StringPackLength("eng", LengthField::Plus(64));
  ThreeQuestions(Table.Ifr().FormSet(FormSet, u"Setup"), 1, Text(u"Main", {{"fra", u"Principal"}})).EndFormSet();
  return Export;
}

// The IFR pack, last in the export, claims 256 bytes more than there are.
ExportBuilder IfrPackPastExport(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(FormSet);
  Table.Layout(PackOrder::VariablesStringsIfr).IfrPackLength(LengthField::Plus(256));
  ThreeQuestions(Table.Ifr().FormSet(FormSet, u"Setup"), 1, u"Main").EndFormSet();
  return Export;
}

// The IFR pack's length stops one byte short of its last opcode, a checkbox;
// the string packs follow, so that byte is still inside the export.
ExportBuilder OpcodePastIfrPack(const EFI_GUID &FormSet) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(FormSet);
  Table.IfrPackLength(LengthField::Plus(-1));
  Table.Ifr().FormSet(FormSet, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"First").CheckBox(1, 1, u"Last");
  return Export;
}

}  // namespace

std::vector<ExampleExport> ExampleExports(const EFI_GUID &FormSetGuid, const EFI_GUID &OtherGuid) {
  const ExportBuilder ConditionsExport = Conditions(FormSetGuid);
  Bytes Truncated = ConditionsExport.Build();
  Truncated.resize(Truncated.size() * 2 / 3);
  return {
      Named("conditions", ConditionsExport),
      Named("varstores_wide_header", Varstores(FormSetGuid, OtherGuid)),
      Named("tables_and_strings", TablesAndStrings(FormSetGuid, OtherGuid)),
      Named("escaped_texts", EscapedTexts(FormSetGuid)),
      {"truncated", Truncated, ConditionsExport.ProtocolGuid()},
      Named("table_size_past_export", TableSizePastExport(FormSetGuid)),
      {"export_one_byte_short", OneByteShort(FormSetGuid), gFrameworkHiiProtocolGuid},
      Named("variable_pack_lengths", VariablePackLengths(FormSetGuid, OtherGuid)),
      Named("string_pack_past_export", StringPackPastExport(FormSetGuid)),
      Named("ifr_pack_past_export", IfrPackPastExport(FormSetGuid)),
      Named("opcode_past_ifr_pack", OpcodePastIfrPack(FormSetGuid)),
  };
}

}  // namespace hiibuild

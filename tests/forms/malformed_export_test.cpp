// Malformed exports: truncated, corrupted and with lengths that point past
// the buffer. Nothing may be read outside the export (the sanitizer build
// checks that) and every text or name a record points at must lie inside it.
#include "forms_fixture.h"
#include "fuzz/export_guard.h"

namespace forms_test {
namespace {

using MalformedExportTest = FormsTest;

// Two tables with every kind of pack and most opcodes.
Bytes RichExport() {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid, {"fra", "eng"});
  Table.VariablePack(kFormSetGuid, 1, u"Setup").VariablePack(kOtherGuid, 2, u"Other");
  Table.Ifr()
      .FormSet(kFormSetGuid, u"Setup").Form(1, u"Main")
      .SuppressIf().EqIdVal(0, 1, 1).Or().EqIdList(1, 2, {1, 2, 3})
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0).EndIf()
      .VarStoreSelect(2)
      .GrayOutIf().Not().EqIdVal(0, 4, 0).Numeric(2, 2, u"Count", {1, 5, 2, 1}).EndIf()
      .VarStoreSelectPair(1, 2)
      .OrderedList(6, 2, u"Order").Option(u"A", 1).EndOneOf()
      .CheckBox(3, 1, u"Box")
      .EndForm().EndFormSet();
  // No strings: the IFR pack ends the export, so the walk meets its end.
  IfrBuilder &Second = Export.AddTable(kOtherGuid, {}).Ifr().FormSet(kOtherGuid, u"Second").Form(2, u"Second form");
  Second.CheckBox(0, 1, u"Other box").EndForm().EndFormSet();
  return Export.Build();
}

// Whether a wide text of Units characters (or, with no length, up to its
// NUL) lies inside [Begin, End) together with its NUL.
bool WideTextInside(const uint8_t *Begin, const uint8_t *End, const void *Text, std::optional<size_t> Units) {
  const auto *B = static_cast<const uint8_t *>(Text);
  if (B < Begin || B > End) return false;
  for (size_t I = 0; End - B >= static_cast<ptrdiff_t>(2 * (I + 1)); ++I) {
    if (B[2 * I] == 0 && B[2 * I + 1] == 0) return !Units || *Units == I;
    if (Units && I >= *Units) return false;
  }
  return false;
}

// Every pointer a record holds into the export lies inside it.
void ExpectRecordsInsideTheExport(SetupFormDatabase &Db) {
  const uint8_t *Begin = Db.ExportBuffer, *End = Begin + Db.ExportSize;
  for (const SetupQuestion *Q = Db.Questions; Q != nullptr; Q = Q->Next) {
    if (Q->PromptText != nullptr) {
      EXPECT_TRUE(WideTextInside(Begin, End, Q->PromptText, Q->PromptLength));
    }
    if (Q->VariableName != nullptr && Q->VariableName != Db.DefaultVariableName) {
      EXPECT_TRUE(WideTextInside(Begin, End, Q->VariableName, std::nullopt));
    }
    const auto *Guid = reinterpret_cast<const uint8_t *>(Q->VariableGuid);
    EXPECT_TRUE(Guid == nullptr || (Guid >= Begin && Guid + sizeof(EFI_GUID) <= End));
    if (Q->OpCode != IFR_ONE_OF_OP) continue;
    for (const OptionView &O : OptionsOf(Q)) {
      EXPECT_TRUE(O.Text == nullptr || WideTextInside(Begin, End, O.Text, O.TextLength));
    }
  }
}

class MalformedVariablesTest : public MalformedExportTest {
 protected:
  void SetUp() override {
    MalformedExportTest::SetUp();
    PutSetup(Bytes{1, 2, 0, 3, 0, 0, 0, 0});
    PutVariable(u"Other", kOtherGuid, Bytes{0, 0, 0, 0});
  }
  // Parses with the page slack behind the export unreadable; returns the
  // number of records made.
  size_t LoadAndCheck(const Bytes &Image) {
    InstallBytes(Image);
    size_t Count = 0;
    EXPECT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    {
      ExportGuard Guard(Forms());
      EXPECT_EQ(Forms().ParseForms(), EFI_SUCCESS);
      ExpectRecordsInsideTheExport(Forms());
      Count = Records().size();
    }
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    return Count;
  }
};

TEST_F(MalformedVariablesTest, EveryTruncationAndEveryCorruptedByte) {
  const Bytes Full = RichExport();
  for (size_t Size = 1; Size < Full.size(); ++Size) {
    SCOPED_TRACE(testing::Message() << "size " << Size);
    (void)LoadAndCheck(Bytes(Full.begin(), Full.begin() + Size));
  }
  for (uint8_t Garbage : {uint8_t{0x00}, uint8_t{0xFF}, uint8_t{0x7F}}) {
    for (size_t At = 0; At < Full.size(); ++At) {
      SCOPED_TRACE(testing::Message() << "byte " << At << " = " << int(Garbage));
      Bytes Image = Full;
      Image[At] = Garbage;
      (void)LoadAndCheck(Image);
    }
  }
  EXPECT_EQ(LoadAndCheck(Full), 6u);  // the untouched export parses whole
}

// Each record as "prompt" for a form, "prompt@variable/G" for a question,
// where G tells the variable's GUID: F the form set's, O the other, - none.
std::vector<std::string> Described(const SetupFormDatabase &Db) {
  std::vector<std::string> Out;
  for (const SetupQuestion *Q = Db.Questions; Q != nullptr; Q = Q->Next) {
    std::u16string Prompt = Str(Q->PromptText, Q->PromptLength);
    std::string Line(Prompt.begin(), Prompt.end());
    if (Q->OpCode != IFR_FORM_OP) {
      std::u16string Name = NameOf(Q->VariableName);
      const char *Guid = SameGuid(Q->VariableGuid, kFormSetGuid) ? "F" : SameGuid(Q->VariableGuid, kOtherGuid) ? "O" : "-";
      Line += "@" + std::string(Name.begin(), Name.end()) + "/" + Guid;
    }
    Out.push_back(Line);
  }
  return Out;
}

// Length and size fields that disagree with the bytes: within the export,
// everything the walk reaches is read; nothing outside it is.
TEST_F(MalformedVariablesTest, LengthsThatDisagreeWithTheBuffer) {
  const Bytes Full = RichExport();
  const size_t Table = 18;
  const size_t VariablePacks = Table + hiibuild::GetU32(Full, Table + 30);
  const size_t Ifr = Table + hiibuild::GetU32(Full, Table + 22);
  const size_t Strings = Table + hiibuild::GetU32(Full, Table + 26);
  using Lines = std::vector<std::string>;
  // The untouched export, and its second table's records.
  const Lines Whole = {"Main", "Mode@Setup/F", "Count@Other/O", "Box@Setup/F", "<none>", "<none>@Setup/O"};
  const Lines FirstTable(Whole.begin(), Whole.begin() + 4);
  const Lines SecondTable(Whole.begin() + 4, Whole.end());
  struct Case {
    const char *Name;
    size_t At;
    uint32_t Value;
    Lines Expected;
  };
  const Case Cases[] = {
      {"table size past the export", Table + 18, 0xFFFFFFF0u, FirstTable},
      {"table size below its header", Table + 18, 20, {}},
      {"IFR offset past the export", Table + 22, 0xFFFFFFF0u, SecondTable},
      // Read on into the string packs, whose first bytes end the walk.
      {"IFR pack length past the export", Ifr, 0xFFFFFFFFu, Whole},
      {"IFR pack length 0", Ifr, 0, SecondTable},
      // The walk steps past the export before it reaches "eng".
      {"first string pack length past the export", Strings, 0xFFFFFFFFu,
       {"<none>", "<none>@Setup/F", "<none>@Other/O", "<none>@Setup/F", "<none>", "<none>@Setup/O"}},
      // The walk stays on "fra" and never reaches "eng".
      {"first string pack length 0", Strings, 0,
       {"<none>", "<none>@Setup/F", "<none>@Other/O", "<none>@Setup/F", "<none>", "<none>@Setup/O"}},
      {"string pack count huge", Table + 42, 0xFFFFFFFFu, Whole},
      // The walk stays on the first pack, "Setup" with id 1: no pack has id 2.
      {"first variable pack length 0", VariablePacks, 0,
       {"Main", "Mode@Setup/F", "Count@Setup/F", "Box@Setup/F", "<none>", "<none>@Setup/O"}},
      {"second variable pack length past the export", VariablePacks + hiibuild::GetU32(Full, VariablePacks),
       0xFFFFFFFFu, Whole},
      {"variable pack count huge", Table + 38, 0xFFFFFFFFu, Whole},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    Bytes Image = Full;
    hiibuild::PutU32(Image, C.At, C.Value);
    InstallBytes(Image);
    ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    {
      ExportGuard Guard(Forms());
      EXPECT_EQ(Forms().ParseForms(), EFI_SUCCESS);
      ExpectRecordsInsideTheExport(Forms());
      EXPECT_EQ(Described(Forms()), C.Expected);
    }
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

}  // namespace
}  // namespace forms_test

// Condition evaluation: the combining rules, the operator stack, the three
// scope kinds, and comparisons of wide questions.
#include "forms_fixture.h"

#include <functional>

namespace forms_test {
namespace {

using ConditionsTest = FormsTest;
using Flags = std::vector<uint32_t>;

// A is "byte 0 == 1", B is "byte 1 == 1", C is "byte 2 == 1".
void A(IfrBuilder &Ifr) { Ifr.EqIdVal(0, 1, 1); }
void B(IfrBuilder &Ifr) { Ifr.EqIdVal(1, 1, 1); }
void C(IfrBuilder &Ifr) { Ifr.EqIdVal(2, 1, 1); }

TEST_F(ConditionsTest, OperatorsCombineTermsAsWritten) {
  struct Expression {
    const char *Name;
    std::function<void(IfrBuilder &)> Write;
    std::function<bool(bool, bool)> Expected;
  };
  const Expression Expressions[] = {
      {"A", [](IfrBuilder &I) { A(I); }, [](bool a, bool) { return a; }},
      {"A AND B", [](IfrBuilder &I) { A(I); I.And(); B(I); }, [](bool a, bool b) { return a && b; }},
      {"A OR B", [](IfrBuilder &I) { A(I); I.Or(); B(I); }, [](bool a, bool b) { return a || b; }},
      {"A NOT", [](IfrBuilder &I) { A(I); I.Not(); }, [](bool a, bool) { return !a; }},
      {"NOT A", [](IfrBuilder &I) { I.Not(); A(I); }, [](bool a, bool) { return !a; }},
      {"A NOT AND B", [](IfrBuilder &I) { A(I); I.Not(); I.And(); B(I); },
       [](bool a, bool b) { return !a && b; }},
      {"EQ_ID_ID", [](IfrBuilder &I) { I.EqIdId(0, 1, 1); }, [](bool, bool) { return true; }},
      {"list holding A's value", [](IfrBuilder &I) { I.EqIdList(0, 1, {7, 1, 9}); },
       [](bool a, bool) { return a; }},
      {"list without it", [](IfrBuilder &I) { I.EqIdList(0, 1, {7, 9}); }, [](bool, bool) { return false; }},
      {"empty list", [](IfrBuilder &I) { I.EqIdList(0, 1, {}); }, [](bool, bool) { return false; }},
  };
  for (const Expression &E : Expressions) {
    for (int Bits = 0; Bits < 4; ++Bits) {
      const bool a = Bits & 1, b = Bits & 2;
      SCOPED_TRACE(testing::Message() << E.Name << " a=" << a << " b=" << b);
      PutSetup(Bytes{uint8_t(a ? 1 : 0), uint8_t(b ? 1 : 0)});
      ExportBuilder Export;
      IfrBuilder &Ifr = StartForms(Export).SuppressIf();
      E.Write(Ifr);
      Ifr.CheckBox(0, 1, u"Q").EndIf().EndForm().EndFormSet();
      Load(Export);
      EXPECT_EQ(QuestionFlags(), Flags{E.Expected(a, b) ? SETUP_QUESTION_SUPPRESSED : 0u});
      EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    }
  }
}

// Expressions whose operators meet marks on the stack. The evaluator folds
// each term in as it is read and lets an operator re-apply an earlier term,
// so these results are not the boolean reading of the expression. Each was
// traced by hand through the scope's result R, the combine mode M and the
// stack (a mark re-evaluated compares nothing and sets R to 0):
TEST_F(ConditionsTest, OperatorsMeetingMarksFollowTheStackRules) {
  struct Expression {
    const char *Name;
    std::function<void(IfrBuilder &)> Write;
    std::function<bool(bool, bool, bool)> Expected;
  };
  const Expression Expressions[] = {
      // NOT: M=3, push N. A: R=!a, push A. AND, step 1: M=1, A again: R=!a&a=0,
      // pop A. Step 2 pops the mark N: M=5, stack empty, push an AND mark.
      // B: R=0 and not b.
      {"NOT A AND B", [](IfrBuilder &I) { I.Not(); A(I); I.And(); B(I); },
       [](bool, bool, bool) { return false; }},
      // As above with OR: A again gives R=!a|a=1, the mark sets M=4, B: 1 or not b.
      {"NOT A OR B", [](IfrBuilder &I) { I.Not(); A(I); I.Or(); B(I); },
       [](bool, bool, bool) { return true; }},
      // A: R=a. OR, step 1: M=2, A again, pop; step 2: empty, M=2. NOT: M=3,
      // push N. B: R=not b.
      {"A OR NOT B", [](IfrBuilder &I) { A(I); I.Or(); I.Not(); B(I); },
       [](bool, bool b, bool) { return !b; }},
      // A: R=a. AND: A again, R=a, M=1. B: R=a&b. OR, step 1: M=2, B again:
      // R=(a&b)|b=b; step 2: M=2. C: R=b|c.
      {"A AND B OR C", [](IfrBuilder &I) { A(I); I.And(); B(I); I.Or(); C(I); },
       [](bool, bool b, bool c) { return b || c; }},
      // NOT, NOT: two marks, nothing re-evaluated. A: M=3, R=not a.
      {"NOT NOT A", [](IfrBuilder &I) { I.Not(); I.Not(); A(I); }, [](bool a, bool, bool) { return !a; }},
      // A: R=a. NOT: A again, R=!a, push N. B: R=b. AND, step 1: M=1, B again,
      // R=b, pop B. Step 2 pops N (M=5) and re-evaluates A without popping:
      // R=b and not a.
      {"A NOT B AND", [](IfrBuilder &I) { A(I); I.Not(); B(I); I.And(); },
       [](bool a, bool b, bool) { return b && !a; }},
      // ... and that re-evaluation used up M=5, so C sets R: c.
      {"A NOT B AND C", [](IfrBuilder &I) { A(I); I.Not(); B(I); I.And(); C(I); },
       [](bool, bool, bool c) { return c; }},
      // A: R=a. NOT: A again, R=!a, push N. B: R=b. OR, step 1: M=2, B again,
      // R=b, pop B. Step 2 pops N (M=4, or-not) and re-evaluates A without
      // popping: R=b or not a; then an OR mark is pushed.
      {"A NOT B OR", [](IfrBuilder &I) { A(I); I.Not(); B(I); I.Or(); },
       [](bool a, bool b, bool) { return b || !a; }},
      // ... AND, step 1 pops the OR mark (M=4) and re-evaluates A, popping
      // it: R=(b or not a) or not a. Step 2: empty, M=1. C: R=(b or not a) and c.
      {"A NOT B OR AND C", [](IfrBuilder &I) { A(I); I.Not(); B(I); I.Or(); I.And(); C(I); },
       [](bool a, bool b, bool c) { return (b || !a) && c; }},
      // NOT: push N. AND, step 1 pops the mark (M=3), nothing left to
      // re-evaluate; step 2: empty, M=1. A: R=0 and a.
      {"NOT AND A", [](IfrBuilder &I) { I.Not(); I.And(); A(I); }, [](bool, bool, bool) { return false; }},
  };
  for (const Expression &E : Expressions) {
    for (int Bits = 0; Bits < 8; ++Bits) {
      const bool a = Bits & 1, b = Bits & 2, c = Bits & 4;
      SCOPED_TRACE(testing::Message() << E.Name << " a=" << a << " b=" << b << " c=" << c);
      PutSetup(Bytes{uint8_t(a ? 1 : 0), uint8_t(b ? 1 : 0), uint8_t(c ? 1 : 0)});
      ExportBuilder Export;
      IfrBuilder &Ifr = StartForms(Export).SuppressIf();
      E.Write(Ifr);
      Ifr.CheckBox(0, 1, u"Q").EndIf().EndForm().EndFormSet();
      Load(Export);
      EXPECT_EQ(QuestionFlags(), Flags{E.Expected(a, b, c) ? SETUP_QUESTION_SUPPRESSED : 0u});
      EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
    }
  }
}

TEST_F(ConditionsTest, EachScopeSetsItsFlagOnTheFirstQuestionOnly) {
  struct Scope {
    const char *Name;
    std::function<void(IfrBuilder &)> Open;
    uint32_t Flag;
  };
  const Scope Scopes[] = {
      {"suppress-if", [](IfrBuilder &I) { I.SuppressIf(); }, SETUP_QUESTION_SUPPRESSED},
      {"gray-out-if", [](IfrBuilder &I) { I.GrayOutIf(); }, SETUP_QUESTION_GRAYED_OUT},
      {"hidden", [](IfrBuilder &I) { I.Hidden(); }, SETUP_QUESTION_HIDDEN},
  };
  PutSetup(Bytes{1, 0});
  for (const Scope &S : Scopes) {
    SCOPED_TRACE(S.Name);
    ExportBuilder Export;
    IfrBuilder &Ifr = StartForms(Export);
    S.Open(Ifr);
    A(Ifr);
    Ifr.OneOfWithOptions(0, 1, u"First", {{u"Off", 0}, {u"On", 1}}, 0)
        .OneOfWithOptions(0, 1, u"Second", {{u"Off", 0}, {u"On", 1}}, 0)
        .EndIf();
    S.Open(Ifr);
    B(Ifr);  // does not match
    Ifr.CheckBox(1, 1, u"Third").EndIf().EndForm().EndFormSet();
    Load(Export);
    ASSERT_EQ(Records().size(), 4u);
    EXPECT_EQ(Records()[0]->Flags, 0u);  // the form record
    EXPECT_EQ(QuestionFlags(), (Flags{S.Flag, 0, 0}));
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

TEST_F(ConditionsTest, ComparisonsOfWideQuestionsZeroExtendTheConstant) {
  struct Case {
    const char *Name;
    uint8_t Width;
    uint16_t Value;
    Bytes Variable;
    bool Matches;
  };
  const Case Cases[] = {
      {"width 1 compares the low byte only", 1, 0x0101, {0x01, 0x55}, true},
      {"width 2 high byte differs", 2, 0x0201, {0x01, 0x03}, false},
      {"width 3 zero-extends", 3, 0x0201, {0x01, 0x02, 0x00}, true},
      {"width 3 with a set third byte", 3, 0x0201, {0x01, 0x02, 0x01}, false},
      {"width 4 with a set top byte", 4, 0x00FF, {0xFF, 0x00, 0x00, 0x80}, false},
      {"width 4 past the end reads zeros", 4, 0x0007, {0x07, 0x00}, true},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    // The compared bytes start at offset 2, behind two filler bytes.
    Bytes Data(2, 0xAA);
    for (uint8_t Byte : C.Variable) Data.push_back(Byte);
    PutSetup(Data);
    ExportBuilder Export;
    StartForms(Export)
        .GrayOutIf().EqIdVal(2, C.Width, C.Value).CheckBox(0, 1, u"Q").EndIf()
        .SuppressIf().EqIdList(2, C.Width, {0x1234, C.Value}).CheckBox(0, 1, u"R").EndIf()
        .EndForm().EndFormSet();
    Load(Export);
    const Flags Expected = C.Matches ? Flags{SETUP_QUESTION_GRAYED_OUT, SETUP_QUESTION_SUPPRESSED} : Flags{0, 0};
    EXPECT_EQ(QuestionFlags(), Expected);
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

TEST_F(ConditionsTest, StackHolds51EntriesButEveryComparisonIsEvaluated) {
  PutSetup(Bytes{0, 1});
  ExportBuilder Export;
  IfrBuilder &Ifr = StartForms(Export).SuppressIf();
  for (int I = 0; I < 51; ++I) A(Ifr);  // none matches
  B(Ifr);                                // the 52nd matches
  Ifr.CheckBox(0, 1, u"Q").EndForm().EndFormSet();
  Load(Export);
  EXPECT_EQ(QuestionFlags(), Flags{SETUP_QUESTION_SUPPRESSED});
  EXPECT_EQ(Forms().ConditionTop, 50);
  // The 52nd term was not pushed: the top is still one of the A terms.
  EXPECT_EQ(Forms().ConditionStack[50].QuestionOffset, 0);
}

TEST_F(ConditionsTest, ReevaluationReadsTheVarstoreTheTermWasMadeWith) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"One").VariablePack(kFormSetGuid, 2, u"Two");
  PutVariable(u"One", kFormSetGuid, Bytes{1});
  PutVariable(u"Two", kFormSetGuid, Bytes{0});
  // The term is true on One; NOT re-evaluates it on One, though Two is selected.
  Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").SuppressIf().VarStoreSelect(1).EqIdVal(0, 1, 1);
  Table.Ifr().VarStoreSelect(2).Not().CheckBox(0, 1, u"Q").EndIf().EndForm();
  Load(Export);
  EXPECT_EQ(QuestionFlags(), Flags{0});
  // The context was restored: the question itself reads Two.
  EXPECT_EQ(NameOf(Questions()[0]->VariableName), u"Two");
}

TEST_F(ConditionsTest, TruncatedComparisonsAreIgnored) {
  PutSetup(Bytes{1, 0});
  ExportBuilder Export;
  StartForms(Export)
      .SuppressIf()
      .Raw({0x12, 0x05, 0x00, 0x00, 0x01})                          // value missing
      .Raw({0x14, 0x09, 0x00, 0x00, 0x01, 0x03, 0x00, 0x01, 0x00})  // list of 3 holding 1
      .CheckBox(0, 1, u"Q").EndForm().EndFormSet();
  Load(Export);
  EXPECT_EQ(QuestionFlags(), Flags{0});
  EXPECT_EQ(Forms().ConditionTop, -1);  // nothing was pushed
}

}  // namespace
}  // namespace forms_test

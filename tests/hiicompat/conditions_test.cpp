// Conditions, checked against the driver itself: for each expression kind,
// and for random expression trees under random values, the flags the real
// driver computes from hiicompat's export equal a direct evaluation of the
// UEFI expressions. The driver's evaluator is unusual (a condition marks
// only the next question; operators re-apply stacked comparisons), so the
// export is also read back to see which conditions it carries as chains the
// driver evaluates and which hiicompat decided itself.
#include "forms/setup_question.h"
#include "tests/hiicompat/framework_scan.h"
#include "tests/hiicompat/modern_platform.h"

#include <functional>
#include <memory>
#include <random>

namespace compat_test {
namespace {

constexpr EFI_GUID kEfiStoreGuid = {0x7d2e11b0, 0x4c65, 0x4e0a, {0xb1, 0x93, 0x5a, 0x0e, 0x6f, 0x22, 0x8d, 0x14}};
constexpr size_t kStoreBytes = 64;
constexpr uint16_t kFirstTarget = 16;

// The questions the conditions read: id, store (1 buffer, 2 EFI), offset, width.
struct Source {
  uint16_t Id;
  uint16_t Store;
  uint16_t Offset;
  unsigned Width;
  bool CheckBox;
};
const Source kSources[] = {
    {1, 1, 0, 1, false}, {2, 1, 2, 2, false}, {3, 1, 4, 1, true}, {4, 1, 8, 4, false}, {5, 2, 0, 1, false}};

using Values = std::map<uint16_t, uint64_t>;

// A UEFI expression as a tree: written as postfix IFR, evaluated directly.
struct Expr {
  enum Kind { EqVal, EqList, RefEq, RefNe, RefGt, And, Or, Not, True, False, EqId } K;
  uint16_t Question = 0;
  uint16_t Other = 0;
  std::vector<uint16_t> Constants;
  std::vector<std::shared_ptr<Expr>> Kids;

  void Write(uefihii::IfrWriter &Ifr) const {
    switch (K) {
      case EqVal: Ifr.EqIdVal(Question, Constants[0]); return;
      case EqList: Ifr.EqIdValList(Question, Constants); return;
      case EqId: Ifr.EqIdId(Question, Other); return;
      case RefEq:
      case RefNe:
      case RefGt:
        Ifr.QuestionRef1(Question);
        Ifr.Uint16(Constants[0]);
        Ifr.Bare(K == RefEq ? EFI_IFR_EQUAL_OP : K == RefNe ? EFI_IFR_NOT_EQUAL_OP : EFI_IFR_GREATER_THAN_OP);
        return;
      case True: Ifr.Bare(EFI_IFR_TRUE_OP); return;
      case False: Ifr.Bare(EFI_IFR_FALSE_OP); return;
      case Not:
        Kids[0]->Write(Ifr);
        Ifr.Bare(EFI_IFR_NOT_OP);
        return;
      case And:
      case Or:
        Kids[0]->Write(Ifr);
        Kids[1]->Write(Ifr);
        Ifr.Bare(K == And ? EFI_IFR_AND_OP : EFI_IFR_OR_OP);
        return;
    }
  }
  bool Eval(const Values &V) const {
    switch (K) {
      case EqVal:
      case RefEq: return V.at(Question) == Constants[0];
      case RefNe: return V.at(Question) != Constants[0];
      case RefGt: return V.at(Question) > Constants[0];
      case EqList:
        for (uint16_t C : Constants)
          if (V.at(Question) == C) return true;
        return false;
      case EqId: return V.at(Question) == V.at(Other);
      case True: return true;
      case False: return false;
      case Not: return !Kids[0]->Eval(V);
      case And: return Kids[0]->Eval(V) && Kids[1]->Eval(V);
      case Or: return Kids[0]->Eval(V) || Kids[1]->Eval(V);
    }
    return false;
  }
};
using ExprPtr = std::shared_ptr<Expr>;

ExprPtr Leaf(Expr::Kind K, uint16_t Q, std::vector<uint16_t> C = {0}) {
  auto E = std::make_shared<Expr>();
  E->K = K;
  E->Question = Q;
  E->Constants = std::move(C);
  return E;
}
ExprPtr Op(Expr::Kind K, ExprPtr A, ExprPtr B = nullptr) {
  auto E = std::make_shared<Expr>();
  E->K = K;
  E->Kids.push_back(std::move(A));
  if (B) E->Kids.push_back(std::move(B));
  return E;
}
ExprPtr Constant(bool Value) {
  auto E = std::make_shared<Expr>();
  E->K = Value ? Expr::True : Expr::False;
  return E;
}

// One checkbox under its conditions: suppress-ifs (outermost first) and
// gray-out-ifs.
struct Target {
  std::vector<ExprPtr> Suppress;
  std::vector<ExprPtr> GrayOut;
};

class ConditionsTest : public CompatImageTest {
 protected:
  EFI_HANDLE Owner = nullptr;
  std::vector<Target> Targets;

  void Build(std::vector<Target> T) {
    Targets = std::move(T);
    FormSetWriter W;
    W.Ifr.FormSet(kFormSetGuid, W.S(u"Conditions"), 0);
    W.Ifr.VarStore(kStoreGuid, 1, kStoreBytes, "Conf");
    W.Ifr.VarStoreEfi(2, kEfiStoreGuid, kEfiStoreAttributes, 4, "EfiConf");
    W.Ifr.Form(1, W.S(u"Main"));
    for (const Source &S : kSources) {
      const uefihii::Question Q{W.S(u"Source " + std::u16string(1, char16_t(u'0' + S.Id))), 0, S.Id, S.Store, S.Offset, 0};
      if (S.CheckBox) {
        W.Ifr.CheckBox(Q);
        continue;
      }
      W.Ifr.OneOf(Q, S.Width, 0, 0, 0);
      for (uint16_t V = 0; V < 4; ++V) W.Ifr.Option(W.S(u"v"), V, static_cast<uint8_t>(S.Width == 1 ? 0 : S.Width == 2 ? 1 : 2));
      W.Ifr.End();
    }
    for (size_t Index = 0; Index < Targets.size(); ++Index) {
      for (const ExprPtr &E : Targets[Index].Suppress) {
        W.Ifr.SuppressIf();
        E->Write(W.Ifr);
      }
      for (const ExprPtr &E : Targets[Index].GrayOut) {
        W.Ifr.GrayOutIf();
        E->Write(W.Ifr);
      }
      const uint16_t Id = static_cast<uint16_t>(kFirstTarget + Index);
      W.Ifr.CheckBox({W.S(u"T" + std::u16string(1, char16_t(u'A' + Index % 26)) + std::u16string(1, char16_t(u'a' + Index / 26))),
                      0, Id, 1, static_cast<uint16_t>(kFirstTarget + Index), 0});
      for (size_t N = 0; N < Targets[Index].Suppress.size() + Targets[Index].GrayOut.size(); ++N) W.Ifr.End();
    }
    W.Ifr.End();
    W.Ifr.End();
    Owner = Fw().AddStoreOwner(uefihii::VendorDevicePath(kOwnerGuid),
                               {sim::BufferStore{kStoreGuid, u"Conf", std::vector<uint8_t>(kStoreBytes, 0)}});
    ASSERT_EQ(Fw().AddPackageList(W.List(), Owner), EFI_SUCCESS);
  }

  void SetValues(const Values &V) {
    std::vector<uint8_t> Conf(kStoreBytes, 0);
    std::vector<uint8_t> Efi(4, 0);
    for (const Source &S : kSources) {
      std::vector<uint8_t> &Bytes = S.Store == 1 ? Conf : Efi;
      for (unsigned B = 0; B < S.Width; ++B) Bytes[S.Offset + B] = static_cast<uint8_t>(V.at(S.Id) >> (8 * B));
    }
    Fw().SetOwnedStore(Owner, sim::BufferStore{kStoreGuid, u"Conf", Conf});
    Fw().PutVariable(u"EfiConf", kEfiStoreGuid, kEfiStoreAttributes, Efi);
  }

  // The driver's flags for every target against the direct evaluation.
  void ExpectDriverAgrees(const Values &V, const std::string &Where) {
    SetValues(V);
    ReloadForms();
    for (size_t Index = 0; Index < Targets.size(); ++Index) {
      bool Suppressed = false;
      for (const ExprPtr &E : Targets[Index].Suppress) Suppressed = Suppressed || E->Eval(V);
      bool Gray = false;
      for (const ExprPtr &E : Targets[Index].GrayOut) Gray = Gray || E->Eval(V);
      const SetupQuestion *Q = RecordAt(static_cast<uint16_t>(kFirstTarget + Index));
      ASSERT_NE(Q, nullptr) << Where << " target " << Index;
      EXPECT_EQ((Q->Flags & SETUP_QUESTION_SUPPRESSED) != 0, Suppressed) << Where << " target " << Index;
      EXPECT_EQ((Q->Flags & SETUP_QUESTION_GRAYED_OUT) != 0, Gray) << Where << " target " << Index;
    }
  }

  const SetupQuestion *RecordAt(uint16_t Offset) {
    for (const SetupQuestion *Q : Records())
      if (Q->OpCode == IFR_CHECKBOX_OP && Q->Offset == Offset && PromptOf(Q).size() == 3) return Q;
    return nullptr;
  }

  ConditionForm SuppressForm(size_t Index) {
    return ScanConditions(FrameworkExport())[{0, static_cast<uint16_t>(kFirstTarget + Index)}].Suppress;
  }
};

Values Make(uint64_t A, uint64_t B, uint64_t C, uint64_t D, uint64_t E) {
  return Values{{1, A}, {2, B}, {3, C}, {4, D}, {5, E}};
}

TEST_F(ConditionsTest, EachKindAsTheDriverEvaluatesItOrDecidedAtExport) {
  struct Case {
    const char *Name;
    ExprPtr E;
    ConditionForm Form;  // under the first value set
  };
  const ExprPtr A = Leaf(Expr::EqVal, 1, {2});
  const ExprPtr B = Leaf(Expr::EqVal, 3, {1});
  const ExprPtr C = Leaf(Expr::EqList, 2, {5, 0x1234});
  const ExprPtr D = Leaf(Expr::RefEq, 4, {70});
  const std::vector<Case> Cases = {
      {"equal-to-value", A, ConditionForm::Chain},
      {"equal-to-list, 2 bytes", C, ConditionForm::Chain},
      {"question = constant, 4 bytes", D, ConditionForm::Chain},
      {"question != constant", Leaf(Expr::RefNe, 2, {5}), ConditionForm::Chain},
      {"not", Op(Expr::Not, A), ConditionForm::Chain},
      {"and", Op(Expr::And, A, B), ConditionForm::Chain},
      {"or of two negations", Op(Expr::Or, Op(Expr::Not, A), Op(Expr::Not, C)), ConditionForm::Chain},
      {"(a or b) and c", Op(Expr::And, Op(Expr::Or, A, B), C), ConditionForm::Chain},
      {"a and not b and d", Op(Expr::And, Op(Expr::And, A, Op(Expr::Not, B)), D), ConditionForm::Chain},
      {"two stores", Op(Expr::And, Leaf(Expr::EqVal, 5, {1}), A), ConditionForm::Chain},
      {"a and true", Op(Expr::And, A, Constant(true)), ConditionForm::Chain},
      {"(a and b) or (c and d)", Op(Expr::Or, Op(Expr::And, A, B), Op(Expr::And, C, D)), ConditionForm::AlwaysTrue},
      {"three negations", Op(Expr::And, Op(Expr::And, Op(Expr::Not, A), Op(Expr::Not, B)), Op(Expr::Not, C)),
       ConditionForm::None},
      {"greater than", Leaf(Expr::RefGt, 4, {10}), ConditionForm::AlwaysTrue},
      {"equal questions", [] {
         auto E = Leaf(Expr::EqId, 1);
         E->Other = 5;
         return E;
       }(),
       ConditionForm::None},
      // The driver would compare the low byte only (2 == 0x02); decided now, it is false.
      {"one byte against 0x102", Leaf(Expr::EqVal, 1, {0x102}), ConditionForm::None},
      {"true", Constant(true), ConditionForm::AlwaysTrue},
      {"false", Constant(false), ConditionForm::None},
  };
  std::vector<Target> T;
  for (const Case &C2 : Cases) T.push_back(Target{{C2.E}, {}});
  Build(T);
  // First values: A true, B true, C true (0x1234), D true (70), Q5 = 1; so
  // each decided case is true except the negations and equal questions.
  const Values First = Make(2, 0x1234, 1, 70, 1);
  SetValues(First);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  const auto Forms = ScanConditions(FrameworkExport());
  for (size_t Index = 0; Index < Cases.size(); ++Index)
    EXPECT_EQ(Forms.at({0, static_cast<uint16_t>(kFirstTarget + Index)}).Suppress, Cases[Index].Form) << Cases[Index].Name;
  StartDriver();
  ExpectDriverAgrees(First, "first values");
  ExpectDriverAgrees(Make(0, 5, 0, 3, 2), "second values");
  ExpectDriverAgrees(Make(0xFF, 0, 1, 70, 0), "third values");
  ExpectDriverAgrees(Make(2, 0x1234, 0, 0x10046, 1), "a 4-byte value past 16 bits");
}

TEST_F(ConditionsTest, NestedSuppressIfsAndGrayOutIfsCombinePerQuestion) {
  const ExprPtr A = Leaf(Expr::EqVal, 1, {1});
  const ExprPtr B = Leaf(Expr::EqVal, 3, {1});
  Build({Target{{A, B}, {Op(Expr::Not, Leaf(Expr::EqVal, 5, {0}))}}, Target{{}, {A}}, Target{{}, {}}});
  SetValues(Make(0, 0, 0, 0, 0));
  ASSERT_EQ(Load(), EFI_SUCCESS);
  StartDriver();
  for (uint64_t One = 0; One < 2; ++One)
    for (uint64_t Three = 0; Three < 2; ++Three)
      for (uint64_t Five = 0; Five < 2; ++Five) ExpectDriverAgrees(Make(One, 0, Three, 0, Five), "combination");
}

TEST_F(ConditionsTest, AnUndecidableConditionLeavesTheQuestionShownButGrayedOut) {
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Set"), 0);
  W.Ifr.VarStore(kStoreGuid, 1, kStoreBytes, "Conf");
  W.Ifr.Form(1, W.S(u"Main"));
  W.Ifr.SuppressIf();
  W.Ifr.Bare(EFI_IFR_MATCH_OP);  // strings: beyond what hiicompat reads
  W.Ifr.CheckBox({W.S(u"Unsure"), 0, 1, 1, 0, 0});
  W.Ifr.End();
  W.Ifr.DisableIf();
  W.Ifr.QuestionRef1(99);  // no such question
  W.Ifr.CheckBox({W.S(u"Never"), 0, 2, 1, 1, 0});
  W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  Owner = Fw().AddStoreOwner(uefihii::VendorDevicePath(kOwnerGuid),
                             {sim::BufferStore{kStoreGuid, u"Conf", std::vector<uint8_t>(kStoreBytes, 0)}});
  ASSERT_EQ(Fw().AddPackageList(W.List(), Owner), EFI_SUCCESS);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_NE(Fw().ConsoleText().find("2 undecidable"), std::string::npos) << Fw().ConsoleText();
  StartDriver();
  const SetupQuestion *Unsure = nullptr;
  for (const SetupQuestion *Q : Records()) {
    EXPECT_NE(PromptOf(Q), u"Never") << "a disable-if that cannot be decided leaves its questions out";
    if (PromptOf(Q) == u"Unsure") Unsure = Q;
  }
  ASSERT_NE(Unsure, nullptr);
  EXPECT_EQ(Unsure->Flags, SETUP_QUESTION_GRAYED_OUT);
}

// A random expression over the sources: comparisons (mostly the kinds the
// driver can evaluate) joined by AND, OR and NOT.
ExprPtr RandomExpr(std::mt19937 &Rng, int Depth) {
  std::uniform_int_distribution<int> Pick(0, 99);
  const int Roll = Pick(Rng);
  if (Depth > 0 && Roll < 45) {
    const int Which = Pick(Rng) % 3;
    if (Which == 0) return Op(Expr::Not, RandomExpr(Rng, Depth - 1));
    return Op(Which == 1 ? Expr::And : Expr::Or, RandomExpr(Rng, Depth - 1), RandomExpr(Rng, Depth - 1));
  }
  const Source &S = kSources[Pick(Rng) % 5];
  const uint16_t Small = static_cast<uint16_t>(Pick(Rng) % 4);
  const int Leaf2 = Pick(Rng) % 10;
  if (Leaf2 < 4) return Leaf(Expr::EqVal, S.Id, {Small});
  if (Leaf2 < 6) return Leaf(Expr::EqList, S.Id, {Small, static_cast<uint16_t>((Small + 1) % 4)});
  if (Leaf2 < 8) return Leaf(Expr::RefEq, S.Id, {Small});
  if (Leaf2 < 9) return Leaf(Expr::RefNe, S.Id, {Small});
  return Leaf(Expr::RefGt, S.Id, {Small});
}

Values RandomValues(std::mt19937 &Rng) {
  std::uniform_int_distribution<int> Pick(0, 3);
  Values V;
  for (const Source &S : kSources) V[S.Id] = S.CheckBox ? Pick(Rng) % 2 : Pick(Rng);
  return V;
}

TEST_F(ConditionsTest, RandomTreesUnderRandomValuesAgreeWithTheDriver) {
  std::mt19937 Rng(20261125);
  std::vector<Target> T;
  for (int Index = 0; Index < 40; ++Index) {
    Target One;
    One.Suppress.push_back(RandomExpr(Rng, 3));
    if (Index % 3 == 0) One.Suppress.push_back(RandomExpr(Rng, 1));
    if (Index % 4 == 0) One.GrayOut.push_back(RandomExpr(Rng, 2));
    T.push_back(One);
  }
  Build(T);
  SetValues(RandomValues(Rng));
  ASSERT_EQ(Load(), EFI_SUCCESS);
  size_t Chains = 0;
  for (size_t Index = 0; Index < T.size(); ++Index) Chains += SuppressForm(Index) == ConditionForm::Chain ? 1 : 0;
  EXPECT_GE(Chains, T.size() / 4) << "enough of them are carried as chains for this to test the encoding";
  StartDriver();
  for (int Round = 0; Round < 25 && !HasFailure(); ++Round) ExpectDriverAgrees(RandomValues(Rng), "round " + std::to_string(Round));
}

}  // namespace
}  // namespace compat_test

#include "hiicompat/condition_chain.h"

#include "uefi/uefi_ifr.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_LOGIC_NODES = 256;
constexpr UINT32 MAX_VISITS = 4096;
constexpr UINT16 NONE = 0xFFFF;

enum class Logic : UINT8 { True, False, Literal, And, Or };

struct LogicNode {
  Logic Kind;
  bool Negated;
  UINT16 Expr;  // the comparison, for a literal
  UINT16 FirstChild;
  UINT16 NextSibling;
};

struct Builder {
  Builder(const ExpressionArena &Arena, const ComparableQuestions &Comparable) : Arena(Arena), Comparable(Comparable) {}
  const ExpressionArena &Arena;
  const ComparableQuestions &Comparable;
  LogicNode Nodes[MAX_LOGIC_NODES] = {};
  UINT32 Count = 0;
  UINT32 Visits = 0;
  bool Failed = false;

  UINT16 Add(Logic Kind, bool Negated = false, UINT16 Expr = NONE) {
    if (Count == MAX_LOGIC_NODES) {
      Failed = true;
      return NONE;
    }
    Nodes[Count] = LogicNode{Kind, Negated, Expr, NONE, NONE};
    return static_cast<UINT16>(Count++);
  }

  bool LiteralUsable(UINT16 Expr) {
    UINT16 Question = 0;
    UINT16 Values[MAX_FRAMEWORK_LIST];
    UINT16 ValueCount = 0;
    if (!ComparisonOf(Arena, Expr, Question, Values, MAX_FRAMEWORK_LIST, ValueCount)) return false;
    UINT8 Width = 0;
    if (!Comparable.Width(Comparable.Context, Question, Width)) return false;
    if (Width != 1 && Width != 2 && Width != 4) return false;
    // The driver compares a 1-byte question with a constant's low byte only.
    for (UINT16 Index = 0; Index < ValueCount; ++Index)
      if (Width == 1 && Values[Index] > 0xFF) return false;
    return true;
  }

  // Appends Child to Parent's children, splicing a child of the same kind.
  void Adopt(UINT16 Parent, UINT16 Child) {
    if (Child == NONE) return;
    if (Nodes[Child].Kind == Nodes[Parent].Kind) {
      for (UINT16 Grand = Nodes[Child].FirstChild; Grand != NONE;) {
        const UINT16 Next = Nodes[Grand].NextSibling;
        Adopt(Parent, Grand);
        Grand = Next;
      }
      return;
    }
    Nodes[Child].NextSibling = NONE;
    if (Nodes[Parent].FirstChild == NONE) {
      Nodes[Parent].FirstChild = Child;
      return;
    }
    UINT16 Last = Nodes[Parent].FirstChild;
    while (Nodes[Last].NextSibling != NONE) Last = Nodes[Last].NextSibling;
    Nodes[Last].NextSibling = Child;
  }

  // An AND or OR without constant children: True/False absorb or vanish.
  UINT16 Simplify(UINT16 Node) {
    const bool IsAnd = Nodes[Node].Kind == Logic::And;
    const Logic Absorbing = IsAnd ? Logic::False : Logic::True;
    const Logic Neutral = IsAnd ? Logic::True : Logic::False;
    UINT16 Kept = NONE;
    UINT16 KeptCount = 0;
    UINT16 Previous = NONE;
    for (UINT16 Child = Nodes[Node].FirstChild; Child != NONE; Child = Nodes[Child].NextSibling) {
      if (Nodes[Child].Kind == Absorbing) return Add(Absorbing);
      if (Nodes[Child].Kind == Neutral) {
        if (Previous == NONE) {
          Nodes[Node].FirstChild = Nodes[Child].NextSibling;
        } else {
          Nodes[Previous].NextSibling = Nodes[Child].NextSibling;
        }
        continue;
      }
      Kept = Child;
      ++KeptCount;
      Previous = Child;
    }
    if (KeptCount == 0) return Add(Neutral);
    if (KeptCount == 1) return Kept;
    return Node;
  }

  UINT16 FromExpression(UINT16 Expr, bool Negate, UINT32 Depth) {
    if (Failed || Expr >= Arena.Count || Depth > 64 || ++Visits > MAX_VISITS) {
      Failed = true;
      return NONE;
    }
    const ExprNode &N = Arena.Nodes[Expr];
    switch (N.Kind) {
      case ExprKind::Not: return FromExpression(N.Child[0], !Negate, Depth + 1);
      case ExprKind::And:
      case ExprKind::Or: {
        // De Morgan: a negated AND is the OR of the negations.
        const bool And = (N.Kind == ExprKind::And) != Negate;
        const UINT16 Node = Add(And ? Logic::And : Logic::Or);
        if (Node == NONE) return NONE;
        Adopt(Node, FromExpression(N.Child[0], Negate, Depth + 1));
        Adopt(Node, FromExpression(N.Child[1], Negate, Depth + 1));
        return Failed ? NONE : Simplify(Node);
      }
      case ExprKind::EqIdVal:
      case ExprKind::EqIdList:
        if (!LiteralUsable(Expr)) break;
        return Add(Logic::Literal, Negate, Expr);
      case ExprKind::Compare:
        if ((N.Op == EFI_IFR_EQUAL_OP || N.Op == EFI_IFR_NOT_EQUAL_OP) && LiteralUsable(Expr))
          return Add(Logic::Literal, Negate != (N.Op == EFI_IFR_NOT_EQUAL_OP), Expr);
        break;
      default: break;
    }
    // A part that reads no question has one value: fold it.
    if (IsConstant(Arena, Expr)) {
      const QuestionValueSource None{[](void *, UINT16, UINT64 &) { return false; }, nullptr};
      const ExprValue Value = Evaluate(Arena, Expr, None);
      if (Value.Type == ExprKind::Bool) return Add(((Value.Number != 0) != Negate) ? Logic::True : Logic::False);
    }
    Failed = true;
    return NONE;
  }
};

struct Linearizer {
  const Builder &B;
  ConditionChain &Out;
  bool Failed = false;

  void Append(ChainOp Op, UINT16 Literal) {
    if (Out.Count == MAX_CHAIN_STEPS) {
      Failed = true;
      return;
    }
    const ChainOp Joined = Out.Count == 0 ? ChainOp::First : Op;
    Out.Steps[Out.Count] = ChainStep{Joined, B.Nodes[Literal].Negated, B.Nodes[Literal].Expr};
    ++Out.Count;
  }

  void Walk(UINT16 Node) {
    const LogicNode &N = B.Nodes[Node];
    if (N.Kind == Logic::Literal) {
      Append(ChainOp::First, Node);
      return;
    }
    const ChainOp Op = N.Kind == Logic::And ? ChainOp::And : ChainOp::Or;
    UINT16 Compound = NONE;
    for (UINT16 Child = N.FirstChild; Child != NONE; Child = B.Nodes[Child].NextSibling) {
      if (B.Nodes[Child].Kind == Logic::Literal) continue;
      if (Compound != NONE) {
        Failed = true;  // two compound operands: no left fold computes it
        return;
      }
      Compound = Child;
    }
    if (Compound != NONE) Walk(Compound);
    // Negated comparisons first: they can only lead the chain.
    for (int Pass = 0; Pass < 2 && !Failed; ++Pass) {
      for (UINT16 Child = N.FirstChild; Child != NONE; Child = B.Nodes[Child].NextSibling) {
        const LogicNode &C = B.Nodes[Child];
        if (C.Kind == Logic::Literal && C.Negated == (Pass == 0)) Append(Op, Child);
      }
    }
  }
};

}  // namespace

bool ComparisonOf(const ExpressionArena &Arena, UINT16 Node, UINT16 &Question, UINT16 *Values, UINT16 Capacity,
                  UINT16 &Count) {
  if (Node >= Arena.Count) return false;
  const ExprNode &N = Arena.Nodes[Node];
  Count = 0;
  switch (N.Kind) {
    case ExprKind::EqIdVal:
      if (Capacity < 1) return false;
      Question = N.Question;
      Values[Count++] = static_cast<UINT16>(N.Value);
      return true;
    case ExprKind::EqIdList:
      if (N.Count == 0 || N.Count > Capacity || !Arena.Ifr.Holds(N.Value, 2 * static_cast<UINT64>(N.Count))) return false;
      Question = N.Question;
      for (UINT16 Index = 0; Index < N.Count; ++Index) Values[Count++] = Arena.Ifr.U16(N.Value + 2 * Index);
      return true;
    case ExprKind::Compare: {
      if (N.Op != EFI_IFR_EQUAL_OP && N.Op != EFI_IFR_NOT_EQUAL_OP) return false;
      if (N.Child[0] >= Arena.Count || N.Child[1] >= Arena.Count || Capacity < 1) return false;
      const ExprNode *Ref = &Arena.Nodes[N.Child[0]];
      const ExprNode *Constant = &Arena.Nodes[N.Child[1]];
      if (Ref->Kind != ExprKind::QuestionValue) {
        const ExprNode *Swap = Ref;
        Ref = Constant;
        Constant = Swap;
      }
      if (Ref->Kind != ExprKind::QuestionValue || Constant->Kind != ExprKind::Uint || Constant->Value > 0xFFFF)
        return false;
      Question = Ref->Question;
      Values[Count++] = static_cast<UINT16>(Constant->Value);
      return true;
    }
    default: return false;
  }
}

void BuildChain(const ExpressionArena &Arena, const UINT16 *Roots, UINT32 RootCount,
                const ComparableQuestions &Comparable, ConditionChain &Out) {
  Out.Kind = ConditionChain::Shape::NotEncodable;
  Out.ConstantValue = false;
  Out.Count = 0;
  // A few KiB of stack, for the length of this call.
  static_assert(sizeof(Builder) < 8192);
  Builder Local(Arena, Comparable);
  Builder *B = &Local;
  const UINT16 Top = B->Add(Logic::Or);
  for (UINT32 Index = 0; Index < RootCount && !B->Failed; ++Index) {
    if (Roots[Index] == NO_NODE) {
      B->Failed = true;
      break;
    }
    B->Adopt(Top, B->FromExpression(Roots[Index], false, 0));
  }
  if (B->Failed) return;
  const UINT16 Root = B->Simplify(Top);
  if (B->Failed || Root == NONE) return;
  if (B->Nodes[Root].Kind == Logic::True || B->Nodes[Root].Kind == Logic::False) {
    Out.Kind = ConditionChain::Shape::Constant;
    Out.ConstantValue = B->Nodes[Root].Kind == Logic::True;
    return;
  }
  Linearizer L{*B, Out};
  L.Walk(Root);
  if (L.Failed) {
    Out.Count = 0;
    return;
  }
  for (UINT32 Step = 2; Step < Out.Count; ++Step) {
    if (Out.Steps[Step].Negated) {
      Out.Count = 0;
      return;
    }
  }
  Out.Kind = ConditionChain::Shape::Chain;
}

}  // namespace hiicompat

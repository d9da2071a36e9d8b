#include "hiicompat/expression.h"

#include "uefi/uefi_ifr.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_STACK = 64;
constexpr UINT32 MAX_EVALUATION_DEPTH = 64;
// DUP lets one node feed two: a tree walk over such a graph can take
// exponential time, so every walk gives up after this many visits.
constexpr UINT32 MAX_VISITS = 4096;

struct Reader {
  explicit Reader(ExpressionArena &Arena) : Arena(Arena) {}
  ExpressionArena &Arena;
  UINT16 Stack[MAX_STACK] = {};
  UINT32 Depth = 0;
  bool Readable = true;

  UINT16 Add(const ExprNode &Node) {
    if (Arena.Count == MAX_EXPRESSION_NODES) {
      Readable = false;
      return NO_NODE;
    }
    Arena.Nodes[Arena.Count] = Node;
    return static_cast<UINT16>(Arena.Count++);
  }
  void Push(UINT16 Node) {
    if (Node == NO_NODE || Depth == MAX_STACK) {
      Readable = false;
      return;
    }
    Stack[Depth++] = Node;
  }
  UINT16 Pop() {
    if (Depth == 0) {
      Readable = false;
      return NO_NODE;
    }
    return Stack[--Depth];
  }
  // Pops Arity operands (the deepest becomes Child[0]) into a new node.
  void Operator(ExprKind Kind, UINT8 Op, UINT32 Arity) {
    ExprNode Node{Kind, Op, 0, 0, 0, 0, {NO_NODE, NO_NODE, NO_NODE}};
    for (UINT32 Index = Arity; Index > 0; --Index) Node.Child[Index - 1] = Pop();
    if (!Readable) return;
    Push(Add(Node));
  }
  void Leaf(ExprKind Kind, UINT64 Value, UINT16 Question = 0, UINT16 Other = 0, UINT16 Count = 0) {
    Push(Add(ExprNode{Kind, 0, Question, Other, Count, Value, {NO_NODE, NO_NODE, NO_NODE}}));
  }
};

// Operands of an opcode that the reader needs, by opcode; 0 for none.
UINT32 OperandBytes(UINT8 Code) {
  switch (Code) {
    case EFI_IFR_EQ_ID_VAL_OP:
    case EFI_IFR_EQ_ID_ID_OP:
    case EFI_IFR_EQ_ID_VAL_LIST_OP: return 6;
    case EFI_IFR_QUESTION_REF1_OP: return 4;
    case EFI_IFR_UINT8_OP: return 3;
    case EFI_IFR_UINT16_OP: return 4;
    case EFI_IFR_UINT32_OP: return 6;
    case EFI_IFR_UINT64_OP: return 10;
    default: return 2;
  }
}

void ReadOne(Reader &R, ByteView Ifr, const IfrOp &Op) {
  if (Op.Length < OperandBytes(Op.Code)) {
    R.Readable = false;
    return;
  }
  const UINT64 At = Op.Offset;
  switch (Op.Code) {
    case EFI_IFR_EQ_ID_VAL_OP: R.Leaf(ExprKind::EqIdVal, Ifr.U16(At + 4), Ifr.U16(At + 2)); return;
    case EFI_IFR_EQ_ID_ID_OP: R.Leaf(ExprKind::EqIdId, 0, Ifr.U16(At + 2), Ifr.U16(At + 4)); return;
    case EFI_IFR_EQ_ID_VAL_LIST_OP: {
      const UINT16 Count = Ifr.U16(At + 4);
      if (6 + 2 * static_cast<UINT32>(Count) > Op.Length) {
        R.Readable = false;
        return;
      }
      R.Leaf(ExprKind::EqIdList, At + 6, Ifr.U16(At + 2), 0, Count);
      return;
    }
    case EFI_IFR_QUESTION_REF1_OP: R.Leaf(ExprKind::QuestionValue, 0, Ifr.U16(At + 2)); return;
    case EFI_IFR_UINT8_OP: R.Leaf(ExprKind::Uint, Ifr.U8(At + 2)); return;
    case EFI_IFR_UINT16_OP: R.Leaf(ExprKind::Uint, Ifr.U16(At + 2)); return;
    case EFI_IFR_UINT32_OP: R.Leaf(ExprKind::Uint, Ifr.U32(At + 2)); return;
    case EFI_IFR_UINT64_OP: R.Leaf(ExprKind::Uint, Ifr.U64(At + 2)); return;
    case EFI_IFR_ZERO_OP: R.Leaf(ExprKind::Uint, 0); return;
    case EFI_IFR_ONE_OP: R.Leaf(ExprKind::Uint, 1); return;
    case EFI_IFR_ONES_OP: R.Leaf(ExprKind::Uint, ~static_cast<UINT64>(0)); return;
    case EFI_IFR_TRUE_OP: R.Leaf(ExprKind::Bool, 1); return;
    case EFI_IFR_FALSE_OP: R.Leaf(ExprKind::Bool, 0); return;
    case EFI_IFR_UNDEFINED_OP: R.Leaf(ExprKind::Undefined, 0); return;
    case EFI_IFR_NOT_OP: R.Operator(ExprKind::Not, Op.Code, 1); return;
    case EFI_IFR_AND_OP: R.Operator(ExprKind::And, Op.Code, 2); return;
    case EFI_IFR_OR_OP: R.Operator(ExprKind::Or, Op.Code, 2); return;
    case EFI_IFR_BITWISE_NOT_OP: R.Operator(ExprKind::BitNot, Op.Code, 1); return;
    case EFI_IFR_TO_BOOLEAN_OP: R.Operator(ExprKind::ToBool, Op.Code, 1); return;
    case EFI_IFR_TO_UINT_OP: R.Operator(ExprKind::ToUint, Op.Code, 1); return;
    case EFI_IFR_CONDITIONAL_OP: R.Operator(ExprKind::Conditional, Op.Code, 3); return;
    case EFI_IFR_DUP_OP: {
      const UINT16 Top = R.Pop();
      R.Push(Top);
      R.Push(Top);
      return;
    }
    default: break;
  }
  if (Op.Code >= EFI_IFR_EQUAL_OP && Op.Code <= EFI_IFR_LESS_EQUAL_OP) {
    R.Operator(ExprKind::Compare, Op.Code, 2);
  } else if (Op.Code >= EFI_IFR_BITWISE_AND_OP && Op.Code <= EFI_IFR_MODULO_OP && Op.Code != EFI_IFR_BITWISE_NOT_OP) {
    R.Operator(ExprKind::Arith, Op.Code, 2);
  } else {
    R.Readable = false;
  }
}

ExprValue Undefined() { return ExprValue{ExprKind::Undefined, 0}; }
ExprValue Boolean(bool B) { return ExprValue{ExprKind::Bool, B ? 1u : 0u}; }
ExprValue Number(UINT64 N) { return ExprValue{ExprKind::Uint, N}; }

ExprValue Compare(UINT8 Op, const ExprValue &A, const ExprValue &B) {
  // Booleans compare as the integers 0 and 1, as browsers compare them.
  switch (Op) {
    case EFI_IFR_EQUAL_OP: return Boolean(A.Number == B.Number);
    case EFI_IFR_NOT_EQUAL_OP: return Boolean(A.Number != B.Number);
    case EFI_IFR_GREATER_THAN_OP: return Boolean(A.Number > B.Number);
    case EFI_IFR_GREATER_EQUAL_OP: return Boolean(A.Number >= B.Number);
    case EFI_IFR_LESS_THAN_OP: return Boolean(A.Number < B.Number);
    default: return Boolean(A.Number <= B.Number);
  }
}

ExprValue Arith(UINT8 Op, const ExprValue &A, const ExprValue &B) {
  if (A.Type != ExprKind::Uint || B.Type != ExprKind::Uint) return Undefined();
  switch (Op) {
    case EFI_IFR_BITWISE_AND_OP: return Number(A.Number & B.Number);
    case EFI_IFR_BITWISE_OR_OP: return Number(A.Number | B.Number);
    case EFI_IFR_SHIFT_LEFT_OP: return Number(B.Number >= 64 ? 0 : A.Number << B.Number);
    case EFI_IFR_SHIFT_RIGHT_OP: return Number(B.Number >= 64 ? 0 : A.Number >> B.Number);
    case EFI_IFR_ADD_OP: return Number(A.Number + B.Number);
    case EFI_IFR_SUBTRACT_OP: return Number(A.Number - B.Number);
    case EFI_IFR_MULTIPLY_OP: return Number(A.Number * B.Number);
    case EFI_IFR_DIVIDE_OP: return B.Number == 0 ? Undefined() : Number(A.Number / B.Number);
    default: return B.Number == 0 ? Undefined() : Number(A.Number % B.Number);
  }
}

ExprValue Eval(const ExpressionArena &Arena, UINT16 Index, const QuestionValueSource &Values, UINT32 Depth,
               UINT32 &Visits) {
  if (Index >= Arena.Count || Depth > MAX_EVALUATION_DEPTH || ++Visits > MAX_VISITS) return Undefined();
  const ExprNode &N = Arena.Nodes[Index];
  auto Child = [&](UINT32 Which) { return Eval(Arena, N.Child[Which], Values, Depth + 1, Visits); };
  UINT64 Mine = 0;
  UINT64 Theirs = 0;
  switch (N.Kind) {
    case ExprKind::Bool:
    case ExprKind::Uint:
    case ExprKind::Undefined: return ExprValue{N.Kind, N.Value};
    case ExprKind::QuestionValue: return Values.Read(Values.Context, N.Question, Mine) ? Number(Mine) : Undefined();
    case ExprKind::EqIdVal: return Values.Read(Values.Context, N.Question, Mine) ? Boolean(Mine == N.Value) : Undefined();
    case ExprKind::EqIdId:
      if (!Values.Read(Values.Context, N.Question, Mine) || !Values.Read(Values.Context, N.Other, Theirs)) return Undefined();
      return Boolean(Mine == Theirs);
    case ExprKind::EqIdList:
      if (!Values.Read(Values.Context, N.Question, Mine) || !Arena.Ifr.Holds(N.Value, 2 * static_cast<UINT64>(N.Count)))
        return Undefined();
      for (UINT32 Item = 0; Item < N.Count; ++Item)
        if (Arena.Ifr.U16(N.Value + 2 * Item) == Mine) return Boolean(true);
      return Boolean(false);
    case ExprKind::Not: {
      const ExprValue A = Child(0);
      return A.Type == ExprKind::Bool ? Boolean(A.Number == 0) : Undefined();
    }
    case ExprKind::And:
    case ExprKind::Or: {
      const ExprValue A = Child(0);
      const ExprValue B = Child(1);
      if (A.Type != ExprKind::Bool || B.Type != ExprKind::Bool) return Undefined();
      return Boolean(N.Kind == ExprKind::And ? (A.Number & B.Number) != 0 : (A.Number | B.Number) != 0);
    }
    case ExprKind::Compare: {
      const ExprValue A = Child(0);
      const ExprValue B = Child(1);
      if (A.Type == ExprKind::Undefined || B.Type == ExprKind::Undefined) return Undefined();
      return Compare(N.Op, A, B);
    }
    case ExprKind::Arith: return Arith(N.Op, Child(0), Child(1));
    case ExprKind::BitNot: {
      const ExprValue A = Child(0);
      return A.Type == ExprKind::Uint ? Number(~A.Number) : Undefined();
    }
    case ExprKind::ToBool: {
      const ExprValue A = Child(0);
      return A.Type == ExprKind::Undefined ? Undefined() : Boolean(A.Number != 0);
    }
    case ExprKind::ToUint: {
      const ExprValue A = Child(0);
      return A.Type == ExprKind::Undefined ? Undefined() : Number(A.Number);
    }
    case ExprKind::Conditional: {
      const ExprValue Test = Child(0);
      if (Test.Type != ExprKind::Bool) return Undefined();
      return Child(Test.Number != 0 ? 1 : 2);
    }
  }
  return Undefined();
}

bool ConstantFrom(const ExpressionArena &Arena, UINT16 Index, UINT32 Depth, UINT32 &Visits) {
  if (Index >= Arena.Count || Depth > MAX_EVALUATION_DEPTH || ++Visits > MAX_VISITS) return false;
  const ExprNode &N = Arena.Nodes[Index];
  switch (N.Kind) {
    case ExprKind::QuestionValue:
    case ExprKind::EqIdVal:
    case ExprKind::EqIdId:
    case ExprKind::EqIdList: return false;
    default: break;
  }
  for (UINT16 Child : N.Child)
    if (Child != NO_NODE && !ConstantFrom(Arena, Child, Depth + 1, Visits)) return false;
  return true;
}

}  // namespace

UINT16 ReadExpression(IfrWalk &Walk, ExpressionArena &Arena) {
  Reader R(Arena);
  const UINT32 FirstNode = Arena.Count;
  UINT32 Inner = 0;  // depth inside scopes opened by expression opcodes
  IfrOp Op{};
  while (Walk.Peek(Op)) {
    if (Inner == 0 && !IsExpressionOpCode(Op.Code)) break;
    (void)Walk.Next(Op);
    if (Inner > 0) {
      // Inside a MAP or similar scope: its opcodes are not read.
      if (Op.Code == EFI_IFR_END_OP) --Inner;
      if (Op.Scope) ++Inner;
      continue;
    }
    if (Op.Scope) {
      R.Readable = false;
      ++Inner;
      continue;
    }
    ReadOne(R, Walk.Bytes(), Op);
  }
  if (!R.Readable || R.Depth != 1) {
    Arena.Count = FirstNode;
    return NO_NODE;
  }
  return R.Stack[0];
}

ExprValue Evaluate(const ExpressionArena &Arena, UINT16 Root, const QuestionValueSource &Values) {
  UINT32 Visits = 0;
  return Eval(Arena, Root, Values, 0, Visits);
}

bool IsConstant(const ExpressionArena &Arena, UINT16 Root) {
  UINT32 Visits = 0;
  return ConstantFrom(Arena, Root, 0, Visits);
}

}  // namespace hiicompat

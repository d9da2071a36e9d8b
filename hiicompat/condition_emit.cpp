#include "hiicompat/condition_emit.h"

namespace hiicompat {

namespace {

void Operator(FrameworkTable &Table, ChainOp Op) {
  Table.Check(Op == ChainOp::Or ? Table.Ifr().Or() : Table.Ifr().And());
}

void Comparison(FrameworkTable &Table, const ExpressionArena &Arena, const ChainStep &Step,
                const FrameworkPlaces &Places) {
  UINT16 Question = 0;
  UINT16 Values[MAX_FRAMEWORK_LIST];
  UINT16 Count = 0;
  UINT16 Store = 0;
  UINT16 Offset = 0;
  UINT8 Width = 0;
  if (!ComparisonOf(Arena, Step.Node, Question, Values, MAX_FRAMEWORK_LIST, Count) ||
      !Places.Place(Places.Context, Question, Store, Offset, Width)) {
    Table.Fail();
    return;
  }
  Table.Select(Store);
  if (Count == 1) {
    Table.Check(Table.Ifr().EqIdVal(Offset, Width, Values[0]));
  } else {
    Table.Check(Table.Ifr().EqIdList(Offset, Width, Values, Count));
  }
  if (Step.Negated) Table.Check(Table.Ifr().Not());
}

}  // namespace

void EmitChain(FrameworkTable &Table, const ExpressionArena &Arena, const ConditionChain &Chain,
               const FrameworkPlaces &Places) {
  if (Chain.Count == 0) {
    Table.Fail();
    return;
  }
  Comparison(Table, Arena, Chain.Steps[0], Places);
  if (Chain.Count == 1) return;
  Comparison(Table, Arena, Chain.Steps[1], Places);
  Operator(Table, Chain.Steps[1].Op);
  for (UINT32 Step = 2; Step < Chain.Count; ++Step) {
    Operator(Table, Chain.Steps[Step - 1].Op);  // pops the previous comparison
    Operator(Table, Chain.Steps[Step].Op);      // sets the mode
    Comparison(Table, Arena, Chain.Steps[Step], Places);
  }
}

void EmitAlwaysTrue(FrameworkTable &Table) { Table.Check(Table.Ifr().EqIdId(0, 1, 0)); }

}  // namespace hiicompat

// Writing a chain (condition_chain.h) as Framework condition opcodes that
// the driver's evaluator computes exactly.
//
// The evaluator folds each comparison into one result with the mode the
// last operator set, pushes it on a small stack, and lets each operator
// re-apply stacked comparisons. The opcodes are laid out so that every
// re-application repeats what the result holds already:
//   l0 [NOT] l1 [NOT] op1          the first pair, in postfix order: the only
//                                   layout that leaves both free to be negated
//   op1                            re-applies the pair's left operand, which
//                                   the result holds already, and empties the
//                                   stack
//   op2 l2                          with an empty stack, an operator only sets
//   op2 op3 l3 ...                  the mode: each later comparison is folded
//                                   in once, then popped by its own operator
// A single comparison is just l0 [NOT].
#pragma once

#include "hiicompat/condition_chain.h"
#include "hiicompat/framework_table.h"

namespace hiicompat {

// Where a question's value is in the Framework export: its varstore id,
// offset and width; false when it has no such place.
struct FrameworkPlaces {
  bool (*Place)(void *Context, UINT16 Question, UINT16 &Store, UINT16 &Offset, UINT8 &Width);
  void *Context;
};

// The chain's opcodes, after its scope opcode. A comparison whose question
// has no place fails the table.
void EmitChain(FrameworkTable &Table, const ExpressionArena &Arena, const ConditionChain &Chain,
               const FrameworkPlaces &Places);

// A term that makes the open scope's result 1 whatever the variables hold
// (the driver's reading of EQ_ID_ID).
void EmitAlwaysTrue(FrameworkTable &Table);

}  // namespace hiicompat

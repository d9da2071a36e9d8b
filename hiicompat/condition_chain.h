// Which UEFI conditions become Framework conditions the driver evaluates.
//
// The driver's evaluator folds comparisons into one running result from
// left to right and re-applies stacked terms when an operator arrives, so
// a condition it computes correctly must have the shape
//   ((l0 op1 l1) op2 l2) op3 l3 ...
// with each op AND or OR, where every li compares one question with
// constants and only l0 and l1 may be negated. (conditions_emit.h writes
// such a chain so that every re-application is harmless.)
//
// BuildChain takes the OR of a question's enclosing conditions of one kind,
// pushes NOT down to the comparisons (De Morgan), drops constant parts, and
// orders each AND or OR so that its one compound operand comes first and
// its negated comparisons lead. What does not fit the shape, or compares a
// question the driver cannot read the way the forms do, is not encodable:
// the caller then evaluates it at export time instead.
#pragma once

#include "hiicompat/expression.h"

namespace hiicompat {

constexpr UINT32 MAX_CHAIN_STEPS = 32;

enum class ChainOp : UINT8 { First, And, Or };

struct ChainStep {
  ChainOp Op;
  bool Negated;
  UINT16 Node;  // in the arena: EqIdVal, EqIdList or an EQUAL/NOT_EQUAL of a question and a constant
};

struct ConditionChain {
  enum class Shape : UINT8 { Constant, Chain, NotEncodable } Kind;
  bool ConstantValue;
  ChainStep Steps[MAX_CHAIN_STEPS];
  UINT32 Count;
};

// What a Framework comparison can read: Width (1, 2 or 4) of a question
// the export carries in a store the driver reads; false for any other.
struct ComparableQuestions {
  bool (*Width)(void *Context, UINT16 Question, UINT8 &Width);
  void *Context;
};

// The comparison at Node: its question and the constants it tests (at most
// Capacity of them). False when Node is not one.
bool ComparisonOf(const ExpressionArena &Arena, UINT16 Node, UINT16 &Question, UINT16 *Values, UINT16 Capacity,
                  UINT16 &Count);

// The chain for Roots[0] OR Roots[1] OR ... (no roots: false).
void BuildChain(const ExpressionArena &Arena, const UINT16 *Roots, UINT32 RootCount,
                const ComparableQuestions &Comparable, ConditionChain &Out);

// The most constants one Framework equal-to-list comparison carries (its
// length byte holds 255).
constexpr UINT16 MAX_FRAMEWORK_LIST = 124;

}  // namespace hiicompat

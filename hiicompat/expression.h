// UEFI IFR expressions (the postfix opcodes after a suppress-if, gray-out-if
// or disable-if): read into a small tree, and evaluated against the values
// questions have now, as a forms browser would evaluate them.
//
// What is read: question references (EQ_ID_VAL, EQ_ID_ID, EQ_ID_VAL_LIST,
// QUESTION_REF1), constants (TRUE, FALSE, ZERO, ONE, ONES, UINT8..UINT64,
// UNDEFINED), AND, OR, NOT, the six comparisons, bitwise and arithmetic
// operators, shifts, TO_BOOLEAN, TO_UINT, CONDITIONAL and DUP. Anything
// else (strings, rules, GET, MATCH, ...) makes the expression unreadable;
// its opcodes are still stepped over, so the walk stays on the IFR's
// structure.
#pragma once

#include "hiicompat/ifr_walk.h"

namespace hiicompat {

enum class ExprKind : UINT8 {
  Bool,           // Value 0 or 1
  Uint,           // Value
  Undefined,
  QuestionValue,  // Question's value
  EqIdVal,        // Question == Value
  EqIdId,         // Question == Other
  EqIdList,       // Question is one of Count UINT16s at IFR offset Value
  Not,
  And,
  Or,
  Compare,      // Op: EFI_IFR_EQUAL_OP .. EFI_IFR_LESS_EQUAL_OP; Child[0] op Child[1]
  Arith,        // Op: bitwise and/or, shifts, + - * / %; Child[0] op Child[1]
  BitNot,
  ToBool,
  ToUint,
  Conditional,  // Child[0] ? Child[1] : Child[2]
};

struct ExprNode {
  ExprKind Kind;
  UINT8 Op;
  UINT16 Question;
  UINT16 Other;
  UINT16 Count;
  UINT64 Value;
  UINT16 Child[3];
};

constexpr UINT32 MAX_EXPRESSION_NODES = 256;
constexpr UINT16 NO_NODE = 0xFFFF;

// The nodes of the expressions of one question's conditions.
struct ExpressionArena {
  ExprNode Nodes[MAX_EXPRESSION_NODES];
  UINT32 Count;
  ByteView Ifr;  // where EqIdList values lie
};

// Reads the expression whose first opcode is at the walk's position and
// moves the walk past it: past every opcode that belongs to it (expression
// opcodes, and whatever lies inside the scopes they open). Returns its
// root, or NO_NODE when it is unreadable (an opcode it does not know, a
// stack that does not end with one value, a full arena).
UINT16 ReadExpression(IfrWalk &Walk, ExpressionArena &Arena);

// A value as the expression sees it.
struct ExprValue {
  ExprKind Type;  // Bool, Uint or Undefined
  UINT64 Number;
};

// The values of questions: Read sets Value and returns true for a question
// whose value it knows.
struct QuestionValueSource {
  bool (*Read)(void *Context, UINT16 Question, UINT64 &Value);
  void *Context;
};

// Evaluates the tree at Root. Undefined when a question's value is unknown,
// an operand has the wrong type, or a division by zero happens.
ExprValue Evaluate(const ExpressionArena &Arena, UINT16 Root, const QuestionValueSource &Values);

// Whether the expression reads no question (its value is fixed).
bool IsConstant(const ExpressionArena &Arena, UINT16 Root);

}  // namespace hiicompat

// Condition evaluation.
//
// Each comparison is folded into the open scope's running result as soon as
// it is read. An operator arrives after its left operand has already been
// folded in with the mode then in force, so the evaluator keeps a small stack
// of the terms and operators seen and re-applies an earlier term with the
// operator's combining rule. Nothing here stops the parse: a comparison that
// cannot read its variable compares zeros, and a full stack drops the push.
#include "forms/conditions.h"

#include "hiibuild/framework_hii.h"
#include "forms/variable_store.h"

namespace {

constexpr INT32 EMPTY_STACK = -1;
constexpr UINT16 MARK_VARSTORE_ID = 0xFFFF;
constexpr UINT32 MAX_COMPARED_BYTES = 255;  // the width is one byte

UINT32 *OpenResult(SetupFormDatabase &Db) {
  switch (Db.ConditionKind) {
    case CONDITION_SUPPRESS: return &Db.SuppressResult;
    case CONDITION_GRAY_OUT: return &Db.GrayOutResult;
    case CONDITION_HIDDEN: return &Db.HiddenResult;
    default: return nullptr;
  }
}

void SetOpenResult(SetupFormDatabase &Db, UINT32 Value) {
  UINT32 *Result = OpenResult(Db);
  if (Result != nullptr) *Result = Value;
}

UINT32 Combine(UINT32 Mode, UINT32 Result, UINT32 Match) {
  switch (Mode) {
    case COMBINE_AND: return Result & Match;
    case COMBINE_OR: return Result | Match;
    case COMBINE_NOT: return Match ^ 1;
    case COMBINE_OR_NOT: return Result | (Match ^ 1);
    case COMBINE_AND_NOT: return Result & (Match ^ 1);
    default: return Match;
  }
}

void OpenScope(SetupFormDatabase &Db, UINT32 Kind) {
  Db.ConditionKind = Kind;
  SetOpenResult(Db, 0);
  Db.CombineMode = COMBINE_SET;
  Db.ConditionTop = EMPTY_STACK;
}

void Push(SetupFormDatabase &Db, const ConditionTerm &Entry) {
  if (Db.ConditionTop >= static_cast<INT32>(CONDITION_STACK_ENTRIES) - 1) return;
  Db.ConditionStack[++Db.ConditionTop] = Entry;
}

void PushMark(SetupFormDatabase &Db, UINT32 Kind) {
  ConditionTerm Mark{};
  Mark.Kind = Kind;
  Mark.VarStoreId = MARK_VARSTORE_ID;
  Push(Db, Mark);
}

bool StackEmpty(const SetupFormDatabase &Db) { return Db.ConditionTop < 0; }
const ConditionTerm &Top(const SetupFormDatabase &Db) { return Db.ConditionStack[Db.ConditionTop]; }
void Pop(SetupFormDatabase &Db) { --Db.ConditionTop; }

// Re-applies the top entry against the variable it was first read from,
// then restores the current varstore. A mark compares nothing (width 0).
void ReevaluateTop(SetupFormDatabase &Db) {
  ConditionTerm Entry = Top(Db);
  SelectVarStore(Db, Entry.VarStoreId);
  EvaluateTerm(Db, Entry.QuestionOffset, Entry.Width, Entry.ValueCount, Entry.Values);
  SelectVarStore(Db, Db.CurrentVarStoreId);
}

UINT32 ModeForMark(UINT32 Kind) {
  if (Kind == TERM_NOT_MARK) return COMBINE_NOT;
  if (Kind == TERM_OR_MARK) return COMBINE_OR_NOT;
  return COMBINE_AND_NOT;
}

// AND and OR differ only in their combining modes and the mark they leave.
void HandleBinaryOperator(SetupFormDatabase &Db, UINT32 Mode, UINT32 MarkedMode, UINT32 MarkKind) {
  if (!StackEmpty(Db)) {
    if (Top(Db).Kind != TERM_COMPARISON) {
      Db.CombineMode = ModeForMark(Top(Db).Kind);
      Pop(Db);
      if (!StackEmpty(Db)) {
        ReevaluateTop(Db);
        Pop(Db);
      }
    } else {
      Db.CombineMode = Mode;
      ReevaluateTop(Db);
      Pop(Db);
    }
  }

  if (StackEmpty(Db)) {
    Db.CombineMode = Mode;
    return;
  }
  if (Top(Db).Kind != TERM_COMPARISON) {
    Db.CombineMode = MarkedMode;
    Pop(Db);
    if (!StackEmpty(Db)) ReevaluateTop(Db);
    PushMark(Db, MarkKind);
    return;
  }
  Db.CombineMode = Mode;
  ReevaluateTop(Db);
}

void HandleNot(SetupFormDatabase &Db) {
  Db.CombineMode = COMBINE_NOT;
  if (!StackEmpty(Db) && Top(Db).Kind == TERM_COMPARISON) ReevaluateTop(Db);
  PushMark(Db, TERM_NOT_MARK);
}

void HandleComparison(SetupFormDatabase &Db, const UINT8 *OpCode, UINT16 ValueCount, const UINT8 *Values) {
  UINT16 Offset = Le16(OpCode + offsetof(IFR_EQ_ID_VAL, QuestionId));
  UINT8 Width = OpCode[offsetof(IFR_EQ_ID_VAL, Width)];
  EvaluateTerm(Db, Offset, Width, ValueCount, Values);
  ConditionTerm Term{};
  Term.Kind = TERM_COMPARISON;
  Term.VarStoreId = Db.CurrentVarStoreId;
  Term.QuestionOffset = Offset;
  Term.Width = Width;
  Term.ValueCount = ValueCount;
  Term.Values = Values;
  Push(Db, Term);
}

}  // namespace

void EvaluateTerm(SetupFormDatabase &Db, UINT16 QuestionOffset, UINT8 Width, UINT16 ValueCount,
                  const UINT8 *Values) {
  if (Width == 0) {
    SetOpenResult(Db, 0);
    return;
  }
  UINT8 Bytes[MAX_COMPARED_BYTES] = {};
  ReadConditionBytes(Db, QuestionOffset, Width, Bytes);

  UINT32 Match = 0;
  for (UINT32 Index = 0; Index < ValueCount && Match == 0; ++Index) {
    const UINT8 *Value = Values + 2 * Index;
    // The constant is 16 bits: its low byte, its high byte (compared only
    // from width 2 on), then zeros for a wider question.
    bool Equal = Bytes[0] == Value[0];
    for (UINT32 Byte = 1; Byte < Width && Equal; ++Byte) {
      Equal = Bytes[Byte] == (Byte == 1 ? Value[1] : 0);
    }
    Match = Equal ? 1 : 0;
  }

  UINT32 *Result = OpenResult(Db);
  if (Result != nullptr) *Result = Combine(Db.CombineMode, *Result, Match);
  Db.CombineMode = COMBINE_SET;
}

void HandleConditionOpcode(SetupFormDatabase &Db, const UINT8 *OpCode, UINT8 Length) {
  switch (OpCode[0]) {
    case IFR_OP_SUPPRESS_IF: OpenScope(Db, CONDITION_SUPPRESS); return;
    case IFR_OP_GRAYOUT_IF: OpenScope(Db, CONDITION_GRAY_OUT); return;
    case IFR_OP_HIDDEN: OpenScope(Db, CONDITION_HIDDEN); return;
    case IFR_OP_END_IF:
      SetOpenResult(Db, 0);
      Db.ConditionKind = CONDITION_NONE;
      Db.CombineMode = COMBINE_SET;
      Db.ConditionTop = EMPTY_STACK;
      return;
    case IFR_OP_EQ_ID_VAL:
      if (Length < sizeof(IFR_EQ_ID_VAL)) return;
      HandleComparison(Db, OpCode, 1, OpCode + offsetof(IFR_EQ_ID_VAL, Value));
      return;
    case IFR_OP_EQ_ID_LIST: {
      if (Length < sizeof(IFR_EQ_ID_LIST)) return;
      UINT16 Count = Le16(OpCode + offsetof(IFR_EQ_ID_LIST, ListLength));
      if (2 * static_cast<UINT32>(Count) > Length - sizeof(IFR_EQ_ID_LIST)) return;
      HandleComparison(Db, OpCode, Count, OpCode + sizeof(IFR_EQ_ID_LIST));
      return;
    }
    case IFR_OP_EQ_ID_ID: SetOpenResult(Db, 1); return;
    case IFR_OP_AND: HandleBinaryOperator(Db, COMBINE_AND, COMBINE_AND_NOT, TERM_AND_MARK); return;
    case IFR_OP_OR: HandleBinaryOperator(Db, COMBINE_OR, COMBINE_OR_NOT, TERM_OR_MARK); return;
    case IFR_OP_NOT: HandleNot(Db); return;
    default: return;  // 0x11 inconsistent-if: its terms fold into the open scope
  }
}

void ApplyConditionResults(SetupFormDatabase &Db, SetupQuestion *Record) {
  if (Db.SuppressResult == 1) Record->Flags |= SETUP_QUESTION_SUPPRESSED;
  if (Db.HiddenResult == 1) Record->Flags |= SETUP_QUESTION_HIDDEN;
  if (Db.GrayOutResult == 1) Record->Flags |= SETUP_QUESTION_GRAYED_OUT;
  Db.SuppressResult = 0;
  Db.GrayOutResult = 0;
  Db.HiddenResult = 0;
}


#include "hiicompat/ifr_translator.h"

#include "hiicompat/condition_emit.h"
#include "runtime/crt.h"
#include "uefi/uefi_ifr.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_SCOPES = 64;
constexpr UINT64 QUESTION_END = EFI_IFR_QUESTION_OFFSET + sizeof(EFI_IFR_QUESTION_HEADER);

enum class ScopeKind : UINT8 { Other, FormSet, Form, Suppress, GrayOut, Disable, OneOf, BitField };

struct Scope {
  ScopeKind Kind;
  UINT16 Root;        // a condition's expression (NO_NODE: unreadable)
  UINT32 ArenaMark;   // the arena's size before the expression
  bool Holds;         // a disable-if that holds
  bool Emitted;       // a one-of written to the table
  bool ConditionOpen; // a one-of written inside a Framework condition scope
};

// How one kind of condition around a question is decided.
struct Decision {
  enum class Form : UINT8 { False, True, Chain, Undecided } Outcome;
  ConditionChain Chain;
};

struct QuestionHeader {
  EFI_STRING_ID Prompt;
  EFI_STRING_ID Help;
  EFI_QUESTION_ID Id;
  EFI_VARSTORE_ID VarStoreId;
  UINT16 Offset;
  UINT8 Flags;
};

class Translator {
 public:
  Translator(const FormSetSource &Source, FrameworkTable &Table, TranslationCounts &Counts)
      : Source(Source), Ifr(Source.Ifr), Table(Table), Counts(Counts) {
    Arena.Count = 0;
    Arena.Ifr = Source.Ifr;
  }

  void Run();

 private:
  // Scopes nested deeper than any real form set end the form set's walk
  // there: what was read so far is kept, closed as the scopes require.
  void Push(const Scope &S) {
    if (Depth == MAX_SCOPES) {
      TooDeep = true;
      return;
    }
    Scopes[Depth++] = S;
  }
  void Close();
  bool Disabled() const;
  bool InBitField() const;
  void Condition(IfrWalk &Walk, const IfrOp &Op);
  void Question(const IfrOp &Op);
  void Option(const IfrOp &Op);
  bool ReadHeader(const IfrOp &Op, QuestionHeader &Out) const;
  bool Decide(ScopeKind Kind, UINT32 Below, Decision &Out);
  void Open(ScopeKind Kind, const Decision &D, bool &Opened);
  bool OptionValuesFit(const IfrOp &Op) const;

  static bool ReadValue(void *Context, UINT16 Question, UINT64 &Value) {
    return static_cast<Translator *>(Context)->Source.Values->QuestionValue(Question, Value);
  }
  static bool ComparableWidth(void *Context, UINT16 Question, UINT8 &Width) {
    UINT16 Store = 0;
    UINT16 Offset = 0;
    return static_cast<Translator *>(Context)->Place(Question, Store, Offset, Width);
  }
  static bool PlaceOf(void *Context, UINT16 Question, UINT16 &Store, UINT16 &Offset, UINT8 &Width) {
    return static_cast<Translator *>(Context)->Place(Question, Store, Offset, Width);
  }
  bool Place(UINT16 Question, UINT16 &Store, UINT16 &Offset, UINT8 &Width);

  const FormSetSource &Source;
  ByteView Ifr;
  FrameworkTable &Table;
  TranslationCounts &Counts;
  ExpressionArena Arena;
  Scope Scopes[MAX_SCOPES];
  UINT32 Depth = 0;
  bool TooDeep = false;
};

bool Translator::Disabled() const {
  for (UINT32 Index = 0; Index < Depth; ++Index)
    if (Scopes[Index].Kind == ScopeKind::Disable && Scopes[Index].Holds) return true;
  return false;
}

bool Translator::InBitField() const {
  for (UINT32 Index = 0; Index < Depth; ++Index)
    if (Scopes[Index].Kind == ScopeKind::BitField) return true;
  return false;
}

bool Translator::Place(UINT16 Question, UINT16 &Store, UINT16 &Offset, UINT8 &Width) {
  const QuestionInfo *Q = Source.Model->Question(Question);
  if (Q == nullptr || Q->BitField || Q->VarStoreId == 0) return false;
  if (Q->Shape != QuestionShape::OneOf && Q->Shape != QuestionShape::CheckBox && Q->Shape != QuestionShape::Numeric)
    return false;
  if (Q->Width != 1 && Q->Width != 2 && Q->Width != 4) return false;
  const StoreInfo *Info = Source.Model->Store(Q->VarStoreId);
  if (Info == nullptr) return false;
  if (Info->Kind == StoreKind::Buffer && static_cast<UINT32>(Q->Offset) + Q->Width > Info->Size) return false;
  LeftOut Why{};
  Store = Table.StoreId(*Info, Why);
  if (Store == 0) return false;
  Offset = Q->Offset;
  Width = Q->Width;
  return true;
}

void Translator::Close() {
  if (Depth == 0) return;
  const Scope S = Scopes[--Depth];
  switch (S.Kind) {
    case ScopeKind::FormSet:
      Table.Check(Table.Ifr().EndFormSet());
      Table.ForgetSelection();
      break;
    case ScopeKind::Form: Table.Check(Table.Ifr().EndForm()); break;
    case ScopeKind::OneOf:
      if (!S.Emitted) break;
      Table.Check(Table.Ifr().EndOneOf());
      if (S.ConditionOpen) Table.Check(Table.Ifr().EndIf());
      break;
    case ScopeKind::Suppress:
    case ScopeKind::GrayOut:
    case ScopeKind::Disable: Arena.Count = S.ArenaMark; break;
    default: break;
  }
}

void Translator::Condition(IfrWalk &Walk, const IfrOp &Op) {
  const UINT32 Mark = Arena.Count;
  const UINT16 Root = ReadExpression(Walk, Arena);
  if (!Op.Scope) {  // a condition over nothing
    Arena.Count = Mark;
    return;
  }
  Scope S{ScopeKind::Other, Root, Mark, false, false, false};
  if (Op.Code == EFI_IFR_SUPPRESS_IF_OP) S.Kind = ScopeKind::Suppress;
  if (Op.Code == EFI_IFR_GRAY_OUT_IF_OP) S.Kind = ScopeKind::GrayOut;
  if (Op.Code == EFI_IFR_DISABLE_IF_OP) {
    S.Kind = ScopeKind::Disable;
    // Decided now: a disabled question is not part of the forms at all.
    const QuestionValueSource Values{ReadValue, this};
    const ExprValue Value = Root == NO_NODE ? ExprValue{ExprKind::Undefined, 0} : Evaluate(Arena, Root, Values);
    S.Holds = !(Value.Type == ExprKind::Bool && Value.Number == 0);
    if (Value.Type == ExprKind::Undefined) ++Counts.Unevaluable;
  }
  Push(S);
}

// The suppress-ifs (or gray-out-ifs) among the first Below scopes, ORed.
bool Translator::Decide(ScopeKind Kind, UINT32 Below, Decision &Out) {
  UINT16 Roots[MAX_SCOPES];
  UINT32 Count = 0;
  bool Unreadable = false;
  for (UINT32 Index = 0; Index < Below; ++Index) {
    if (Scopes[Index].Kind != Kind) continue;
    if (Scopes[Index].Root == NO_NODE) Unreadable = true;
    Roots[Count++] = Scopes[Index].Root;
  }
  Out.Outcome = Decision::Form::False;
  if (Count == 0) return true;
  if (!Unreadable) {
    const ComparableQuestions Comparable{ComparableWidth, this};
    BuildChain(Arena, Roots, Count, Comparable, Out.Chain);
    if (Out.Chain.Kind == ConditionChain::Shape::Chain) {
      Out.Outcome = Decision::Form::Chain;
      ++Counts.FrameworkConditions;
      return true;
    }
    if (Out.Chain.Kind == ConditionChain::Shape::Constant) {
      Out.Outcome = Out.Chain.ConstantValue ? Decision::Form::True : Decision::Form::False;
      ++Counts.EvaluatedConditions;
      return true;
    }
  }
  // Decided now: any condition that holds decides; an undecidable one
  // leaves the outcome open.
  const QuestionValueSource Values{ReadValue, this};
  bool Undecided = Unreadable;
  for (UINT32 Index = 0; Index < Count; ++Index) {
    if (Roots[Index] == NO_NODE) continue;
    const ExprValue Value = Evaluate(Arena, Roots[Index], Values);
    if (Value.Type != ExprKind::Bool) {
      Undecided = true;
      continue;
    }
    if (Value.Number != 0) {
      Out.Outcome = Decision::Form::True;
      ++Counts.EvaluatedConditions;
      return true;
    }
  }
  if (Undecided) {
    Out.Outcome = Decision::Form::Undecided;
    ++Counts.Unevaluable;
    return false;
  }
  ++Counts.EvaluatedConditions;
  return true;
}

void Translator::Open(ScopeKind Kind, const Decision &D, bool &Opened) {
  if (D.Outcome == Decision::Form::False) return;
  Table.Check(Kind == ScopeKind::Suppress ? Table.Ifr().SuppressIf() : Table.Ifr().GrayOutIf());
  Opened = true;
  if (D.Outcome == Decision::Form::Chain) {
    const FrameworkPlaces Places{PlaceOf, this};
    EmitChain(Table, Arena, D.Chain, Places);
  } else {
    EmitAlwaysTrue(Table);
  }
}

bool Translator::ReadHeader(const IfrOp &Op, QuestionHeader &Out) const {
  if (Op.Length < QUESTION_END) return false;
  const UINT64 At = Op.Offset + EFI_IFR_QUESTION_OFFSET;
  Out.Prompt = Ifr.U16(At);
  Out.Help = Ifr.U16(At + 2);
  Out.Id = Ifr.U16(At + offsetof(EFI_IFR_QUESTION_HEADER, QuestionId));
  Out.VarStoreId = Ifr.U16(At + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreId));
  Out.Offset = Ifr.U16(At + offsetof(EFI_IFR_QUESTION_HEADER, VarStoreInfo));
  Out.Flags = Ifr.U8(At + offsetof(EFI_IFR_QUESTION_HEADER, Flags));
  return true;
}

// Whether every option of the one-of at Op has a value the Framework's
// 16-bit option can hold.
bool Translator::OptionValuesFit(const IfrOp &Op) const {
  if (!Op.Scope) return true;
  const UINT64 End = ScopeEnd(Ifr, Op.Offset);
  IfrWalk Walk(Ifr.Part(0, End), Op.Offset + Op.Length);
  IfrOp Inner{};
  while (Walk.Next(Inner)) {
    if (Inner.Code != EFI_IFR_ONE_OF_OPTION_OP) continue;
    if (Inner.Length < sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) + 1) return false;
    const UINT8 Type = Ifr.U8(Inner.Offset + offsetof(EFI_IFR_ONE_OF_OPTION_HEAD, Type));
    if (Type > EFI_IFR_TYPE_BOOLEAN) return false;
    const UINT32 Width = Type == EFI_IFR_TYPE_BOOLEAN ? 1 : 1u << Type;
    if (Inner.Length < sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) + Width) return false;
    if (Ifr.Sized(Inner.Offset + sizeof(EFI_IFR_ONE_OF_OPTION_HEAD), Width) > 0xFFFF) return false;
  }
  return true;
}

void Translator::Question(const IfrOp &Op) {
  LeftOut Why = LeftOut::Malformed;
  bool Leave = false;
  switch (Op.Code) {
    case EFI_IFR_STRING_OP: Why = LeftOut::String; Leave = true; break;
    case EFI_IFR_PASSWORD_OP: Why = LeftOut::Password; Leave = true; break;
    case EFI_IFR_DATE_OP: Why = LeftOut::Date; Leave = true; break;
    case EFI_IFR_TIME_OP: Why = LeftOut::Time; Leave = true; break;
    case EFI_IFR_ORDERED_LIST_OP: Why = LeftOut::OrderedList; Leave = true; break;
    case EFI_IFR_ACTION_OP: Why = LeftOut::Action; Leave = true; break;
    default: break;
  }
  const bool OneOf = Op.Code == EFI_IFR_ONE_OF_OP;
  auto LeaveOut = [&](LeftOut Reason) {
    Counts.Count(Reason);
    if (Op.Scope) Push(Scope{OneOf ? ScopeKind::OneOf : ScopeKind::Other, NO_NODE, 0, false, false, false});
  };
  if (Disabled()) return LeaveOut(LeftOut::Disabled);
  if (Leave) return LeaveOut(Why);
  if (InBitField()) return LeaveOut(LeftOut::BitField);

  QuestionHeader Q{};
  if (!ReadHeader(Op, Q) || (Op.Code != EFI_IFR_CHECKBOX_OP && Op.Length <= QUESTION_END))
    return LeaveOut(LeftOut::Malformed);
  UINT8 Width = 1;
  hiibuild::NumericRange Range{};
  if (Op.Code != EFI_IFR_CHECKBOX_OP) {
    const UINT8 Flags = Ifr.U8(Op.Offset + QUESTION_END);
    Width = static_cast<UINT8>(1u << (Flags & EFI_IFR_NUMERIC_SIZE));
    if (Width == 8) return LeaveOut(LeftOut::Wide);
    if (Op.Length < QUESTION_END + 1 + 3 * Width) return LeaveOut(LeftOut::Malformed);
    const UINT64 Min = Ifr.Sized(Op.Offset + QUESTION_END + 1, Width);
    const UINT64 Max = Ifr.Sized(Op.Offset + QUESTION_END + 1 + Width, Width);
    const UINT64 Step = Ifr.Sized(Op.Offset + QUESTION_END + 1 + 2 * Width, Width);
    if (Op.Code == EFI_IFR_NUMERIC_OP) {
      if (Max > 0xFFFF || Min > Max || Step > 0xFFFF) return LeaveOut(LeftOut::BeyondSixteen);
      // Step 0 lets any value of the range be typed in.
      Range = hiibuild::NumericRange{static_cast<UINT16>(Min), static_cast<UINT16>(Max),
                                     static_cast<UINT16>(Step == 0 ? 1 : Step), static_cast<UINT16>(Min)};
    } else if (!OptionValuesFit(Op)) {
      return LeaveOut(LeftOut::BeyondSixteen);
    }
  }

  // Storage: a store the driver reads, or a variable no store has.
  bool Gray = (Q.Flags & (EFI_IFR_FLAG_CALLBACK | EFI_IFR_FLAG_READ_ONLY)) != 0;
  UINT16 Store = 0;
  if (Q.VarStoreId == 0) {
    Gray = true;
    Store = Table.NoStorageId();
    if (Store == 0) return LeaveOut(LeftOut::ManyStores);
  } else {
    const StoreInfo *Info = Source.Model->Store(Q.VarStoreId);
    if (Info == nullptr) return LeaveOut(LeftOut::UnknownStore);
    Store = Table.StoreId(*Info, Why);
    if (Store == 0) return LeaveOut(Why);
    if (Info->Kind == StoreKind::Buffer && static_cast<UINT32>(Q.Offset) + Width > Info->Size)
      return LeaveOut(LeftOut::Malformed);
  }

  Decision Suppress{};
  Decision GrayOut{};
  if (!Decide(ScopeKind::Suppress, Depth, Suppress)) {
    // Shown, but protected: nothing should change what cannot be judged.
    Suppress.Outcome = Decision::Form::False;
    Gray = true;
  }
  if (Gray) {
    GrayOut.Outcome = Decision::Form::True;
  } else if (!Decide(ScopeKind::GrayOut, Depth, GrayOut)) {
    GrayOut.Outcome = Decision::Form::True;
  }

  bool Opened = false;
  Open(ScopeKind::Suppress, Suppress, Opened);
  Open(ScopeKind::GrayOut, GrayOut, Opened);
  Table.Select(Store);
  const UINT16 Prompt = Table.Token(Q.Prompt);
  const UINT16 Help = Table.Token(Q.Help);
  if (GrayOut.Outcome == Decision::Form::True) ++Counts.GrayedOut;
  switch (Op.Code) {
    case EFI_IFR_ONE_OF_OP:
      Table.Check(Table.Ifr().OneOf(Q.Offset, Width, Prompt, Help));
      Counts.Count(Carried::OneOf);
      if (Op.Scope) {
        Push(Scope{ScopeKind::OneOf, NO_NODE, 0, false, true, Opened});
        return;
      }
      Table.Check(Table.Ifr().EndOneOf());
      break;
    case EFI_IFR_CHECKBOX_OP:
      Table.Check(Table.Ifr().CheckBox(Q.Offset, 1, Prompt, Help, 0, 0));
      Counts.Count(Carried::CheckBox);
      break;
    default:
      Table.Check(Table.Ifr().Numeric(Q.Offset, Width, Prompt, Help, 0, 0, Range));
      Counts.Count(Carried::Numeric);
      break;
  }
  if (Opened) Table.Check(Table.Ifr().EndIf());
  if (Op.Scope) Push(Scope{ScopeKind::Other, NO_NODE, 0, false, false, false});
}

void Translator::Option(const IfrOp &Op) {
  // The innermost one-of; suppress-ifs opened inside it govern the option.
  UINT32 OneOf = Depth;
  while (OneOf > 0 && Scopes[OneOf - 1].Kind != ScopeKind::OneOf) --OneOf;
  if (OneOf == 0 || !Scopes[OneOf - 1].Emitted) return;
  if (Op.Length < sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) + 1) return;
  const QuestionValueSource Values{ReadValue, this};
  for (UINT32 Index = OneOf; Index < Depth; ++Index) {
    if (Scopes[Index].Kind == ScopeKind::Disable && Scopes[Index].Holds) return;
    if (Scopes[Index].Kind != ScopeKind::Suppress || Scopes[Index].Root == NO_NODE) continue;
    const ExprValue Value = Evaluate(Arena, Scopes[Index].Root, Values);
    if (Value.Type == ExprKind::Bool && Value.Number != 0) return;
  }
  const UINT8 Type = Ifr.U8(Op.Offset + offsetof(EFI_IFR_ONE_OF_OPTION_HEAD, Type));
  const UINT32 Width = Type == EFI_IFR_TYPE_BOOLEAN ? 1 : 1u << (Type & 3);
  if (Type > EFI_IFR_TYPE_BOOLEAN || Op.Length < sizeof(EFI_IFR_ONE_OF_OPTION_HEAD) + Width) return;
  const UINT64 Value = Ifr.Sized(Op.Offset + sizeof(EFI_IFR_ONE_OF_OPTION_HEAD), Width);
  const UINT16 Text = Table.Token(Ifr.U16(Op.Offset + offsetof(EFI_IFR_ONE_OF_OPTION_HEAD, Option)));
  Table.Check(Table.Ifr().Option(Text, static_cast<UINT16>(Value), 0, 0));
}

void Translator::Run() {
  IfrWalk Walk(Ifr.Part(0, Source.End), Source.Start);
  IfrOp Op{};
  if (!Walk.Next(Op) || Op.Code != EFI_IFR_FORM_SET_OP || !Op.Scope || Op.Length < sizeof(EFI_IFR_FORM_SET)) return;
  EFI_GUID Guid;
  Ifr.Guid(Op.Offset + offsetof(EFI_IFR_FORM_SET, Guid), Guid);
  const UINT16 Title = Table.Token(Ifr.U16(Op.Offset + offsetof(EFI_IFR_FORM_SET, FormSetTitle)));
  const UINT16 Help = Table.Token(Ifr.U16(Op.Offset + offsetof(EFI_IFR_FORM_SET, Help)));
  Table.Check(Table.Ifr().FormSet(Guid, Title, Help, 0, 0, 0));
  Push(Scope{ScopeKind::FormSet, NO_NODE, 0, false, false, false});
  while (Depth > 0 && !TooDeep && !Table.HasFailed() && Walk.Next(Op)) {
    switch (Op.Code) {
      case EFI_IFR_END_OP: Close(); continue;
      case EFI_IFR_FORM_OP:
        if (Op.Length >= sizeof(EFI_IFR_FORM)) {
          const UINT16 FormTitle = Table.Token(Ifr.U16(Op.Offset + offsetof(EFI_IFR_FORM, FormTitle)));
          Table.Check(Table.Ifr().Form(Ifr.U16(Op.Offset + offsetof(EFI_IFR_FORM, FormId)), FormTitle));
          if (Op.Scope) {
            Push(Scope{ScopeKind::Form, NO_NODE, 0, false, false, false});
          } else {
            Table.Check(Table.Ifr().EndForm());
          }
          continue;
        }
        break;
      case EFI_IFR_SUPPRESS_IF_OP:
      case EFI_IFR_GRAY_OUT_IF_OP:
      case EFI_IFR_DISABLE_IF_OP: Condition(Walk, Op); continue;
      case EFI_IFR_ONE_OF_OP:
      case EFI_IFR_CHECKBOX_OP:
      case EFI_IFR_NUMERIC_OP:
      case EFI_IFR_STRING_OP:
      case EFI_IFR_PASSWORD_OP:
      case EFI_IFR_DATE_OP:
      case EFI_IFR_TIME_OP:
      case EFI_IFR_ORDERED_LIST_OP:
      case EFI_IFR_ACTION_OP: Question(Op); continue;
      case EFI_IFR_ONE_OF_OPTION_OP: Option(Op); break;
      case EFI_IFR_GUID_OP:
        if (Op.Scope && Op.Length >= sizeof(EFI_IFR_GUID)) {
          EFI_GUID Vendor;
          Ifr.Guid(Op.Offset + offsetof(EFI_IFR_GUID, Guid), Vendor);
          if (SameGuid(Vendor, gEdkiiIfrBitVarstoreGuid)) {
            Push(Scope{ScopeKind::BitField, NO_NODE, 0, false, false, false});
            continue;
          }
        }
        break;
      default: break;
    }
    if (Op.Scope) Push(Scope{ScopeKind::Other, NO_NODE, 0, false, false, false});
  }
  // A form set cut short by the package's end: close what is open.
  while (Depth > 0) Close();
}

}  // namespace

void TranslateFormSet(const FormSetSource &Source, FrameworkTable &Table, TranslationCounts &Counts) {
  // The translator holds the scope stack and an expression arena: too much
  // for a firmware stack frame, so it lives in the heap.
  Translator *T = crt::New<Translator>(Source, Table, Counts);
  if (T == nullptr) {
    Table.Fail();
    return;
  }
  ++Counts.FormSets;
  T->Run();
  crt::Delete(T);
}

}  // namespace hiicompat

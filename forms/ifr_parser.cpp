// ParseForms: the walk over the data tables and their Framework IFR.
//
// One pass, no recursion: every data table in export order, every opcode of
// its IFR pack in order. Forms and one-of, checkbox and numeric questions
// become records; condition and varstore opcodes steer the state that the
// following records take; everything else leaves no trace. The export is
// firmware data, so every table, pack and opcode is checked to lie inside
// the buffer, and an opcode too short for the operands it needs is ignored.
#include "forms/conditions.h"
#include "forms/framework_hii.h"
#include "forms/option_texts.h"
#include "forms/string_lookup.h"
#include "forms/variable_store.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace {

// Owns a record until it joins the question list.
using RecordOwner = crt::HeapPtr<SetupQuestion>;

void DropPendingOptions(SetupFormDatabase &Db) {
  FreeOptionList(Db.PendingOptions);
  Db.PendingOptions = nullptr;
}

void SetPrompt(SetupFormDatabase &Db, SetupQuestion *Record, UINT16 Token) {
  LookedUpString Prompt = LookupString(Db, Token);
  Record->PromptText = Prompt.Text;
  Record->PromptLength = Prompt.Length;
}

UINT32 OperandBytesNeeded(UINT8 Code) {
  switch (Code) {
    case IFR_OP_FORM: return sizeof(IFR_FORM);
    case IFR_OP_ONE_OF:
    case IFR_OP_CHECKBOX: return sizeof(IFR_QUESTION_HEAD);
    case IFR_OP_NUMERIC: return sizeof(IFR_NUMERIC);
    case IFR_OP_ONE_OF_OPTION: return sizeof(IFR_ONE_OF_OPTION);
    case IFR_OP_FORM_SET: return sizeof(IFR_FORM_SET);
    case IFR_OP_VARSTORE: return sizeof(IFR_VARSTORE);
    case IFR_OP_VARSTORE_SELECT:
    case IFR_OP_VARSTORE_SELECT_PAIR: return sizeof(IFR_VARSTORE_SELECT);
    default: return 0;
  }
}

// One-of, checkbox and numeric questions: value, prompt, options, flags.
void KeepQuestion(SetupFormDatabase &Db, RecordOwner &Record, const UINT8 *Op) {
  SetupQuestion *Question = Record.Get();
  ReadQuestionValue(Db, Question, Le16(Op + offsetof(IFR_QUESTION_HEAD, QuestionId)),
                    Op[offsetof(IFR_QUESTION_HEAD, Width)]);
  SetPrompt(Db, Question, Le16(Op + offsetof(IFR_QUESTION_HEAD, Prompt)));
  // The one-of's own options follow it; whatever is pending is not its.
  DropPendingOptions(Db);
  if (Op[0] == IFR_OP_ONE_OF) Db.DroppingOptions = 0;
  if (Op[0] == IFR_OP_CHECKBOX) Question->Options = MakeCheckboxOptions(Db);
  if (Op[0] == IFR_OP_NUMERIC) {
    UINT16 Step = Le16(Op + offsetof(IFR_NUMERIC, Step));
    if (Step != 0) {
      Question->Options = MakeNumericOptions(Db, Le16(Op + offsetof(IFR_NUMERIC, Minimum)),
                                             Le16(Op + offsetof(IFR_NUMERIC, Maximum)), Step);
    }
  }
  ApplyConditionResults(Db, Question);
  Db.AppendQuestion(Record.Release());
}

void KeepForm(SetupFormDatabase &Db, RecordOwner &Record, const UINT8 *Op) {
  Record.Get()->FormId = Le16(Op + offsetof(IFR_FORM, FormId));
  SetPrompt(Db, Record.Get(), Le16(Op + offsetof(IFR_FORM, FormTitle)));
  Db.AppendQuestion(Record.Release());
}

void AddPendingOption(SetupFormDatabase &Db, const UINT8 *Op) {
  auto *Option = static_cast<SetupOption *>(crt::calloc(1, sizeof(SetupOption)));
  if (Option == nullptr) return;
  LookedUpString Text = LookupString(Db, Le16(Op + offsetof(IFR_ONE_OF_OPTION, Option)));
  Option->Text = Text.Text;
  Option->TextLength = Text.Length;
  Option->Value = Le16(Op + offsetof(IFR_ONE_OF_OPTION, Value));
  Option->Next = Db.PendingOptions;
  Db.PendingOptions = Option;
}

void AttachPendingOptions(SetupFormDatabase &Db) {
  if (Db.QuestionsTail == nullptr) {
    DropPendingOptions(Db);
    return;
  }
  FreeOptionList(Db.QuestionsTail->Options);
  Db.QuestionsTail->Options = Db.PendingOptions;
  Db.PendingOptions = nullptr;
}

void SelectVarStoreById(SetupFormDatabase &Db, UINT16 Id) {
  Db.CurrentVarStoreId = Id;
  SelectVarStore(Db, Id);
}

// Option scopes that belong to no record: an ordered list's, and that of a
// one-of that could not be kept. Their options must not reach any record.
// Handled before a record is allocated, so memory pressure cannot reroute
// them. True when the opcode needs nothing more.
bool TrackDroppedOptionScope(SetupFormDatabase &Db, UINT8 Code) {
  if (Code == IFR_OP_ORDERED_LIST) {
    Db.DroppingOptions = 1;
    return true;
  }
  if (!Db.DroppingOptions) return false;
  if (Code == IFR_OP_ONE_OF_OPTION) return true;
  if (Code == IFR_OP_END_ONE_OF) {
    Db.DroppingOptions = 0;
    return true;
  }
  return false;
}

void HandleOpcode(SetupFormDatabase &Db, const UINT8 *Op, UINT8 Length) {
  const UINT8 Code = Op[0];
  if (TrackDroppedOptionScope(Db, Code)) return;
  const bool Truncated = Length < OperandBytesNeeded(Code);

  // Every opcode first takes a record, kept only for forms and questions.
  // When even that allocation fails the opcode is passed over, condition and
  // varstore opcodes included, so memory pressure degrades every opcode the
  // same way. A one-of passed over drops its options rather than hand them
  // to the question before it.
  RecordOwner Record(static_cast<SetupQuestion *>(crt::calloc(1, sizeof(SetupQuestion))));
  if (Record.Get() == nullptr || Truncated) {
    if (Code == IFR_OP_ONE_OF) Db.DroppingOptions = 1;
    return;
  }
  SetupQuestion *Question = Record.Get();
  Question->OpCode = Code;
  Question->VariableGuid = Db.CurrentVariableGuid;
  Question->VariableName = Db.CurrentVariableName;
  Question->VariableSize = Db.CurrentVariableSize;
  Question->VariableAttributes = Db.CurrentVariableAttributes;

  switch (Code) {
    case IFR_OP_FORM: KeepForm(Db, Record, Op); return;
    case IFR_OP_ONE_OF:
    case IFR_OP_CHECKBOX:
    case IFR_OP_NUMERIC: KeepQuestion(Db, Record, Op); return;
    case IFR_OP_ONE_OF_OPTION: AddPendingOption(Db, Op); return;
    case IFR_OP_SUPPRESS_IF:
    case IFR_OP_HIDDEN:
    case IFR_OP_INCONSISTENT_IF:
    case IFR_OP_EQ_ID_VAL:
    case IFR_OP_EQ_ID_ID:
    case IFR_OP_EQ_ID_LIST:
    case IFR_OP_AND:
    case IFR_OP_OR:
    case IFR_OP_NOT:
    case IFR_OP_END_IF:
    case IFR_OP_GRAYOUT_IF: HandleConditionOpcode(Db, Op, Length); return;
    case IFR_OP_END_FORM_SET: SelectVarStore(Db, 0); return;
    case IFR_OP_FORM_SET:
      Db.CurrentVariableGuid = reinterpret_cast<EFI_GUID *>(const_cast<UINT8 *>(Op) + offsetof(IFR_FORM_SET, Guid));
      return;
    case IFR_OP_END_ONE_OF: AttachPendingOptions(Db); return;
    case IFR_OP_VARSTORE: SelectVarStoreById(Db, Le16(Op + offsetof(IFR_VARSTORE, VarId))); return;
    case IFR_OP_VARSTORE_SELECT:
    case IFR_OP_VARSTORE_SELECT_PAIR:
      SelectVarStoreById(Db, Le16(Op + offsetof(IFR_VARSTORE_SELECT, VarId)));
      return;
    default: return;  // subtitles, text, passwords, references, labels...
  }
}

// Opcodes from byte 6 of the pack to the pack's end. The export bounds
// every read, not the pack's length: a pack that claims more than the export
// holds is walked to the export's end, and an opcode that starts inside the
// pack is handled whenever its bytes lie inside the export, even if they run
// past the pack. A length byte of 0, or an opcode running past the export,
// ends the walk.
void WalkIfrPack(SetupFormDatabase &Db, UINT64 Pack) {
  const ExportSpan Export = Db.Export();
  if (!Export.Holds(Pack, sizeof(HII_PACK_HEADER))) return;
  const UINT64 PackEnd = Pack + Le32(Export.At(Pack));
  Db.DroppingOptions = 0;
  for (UINT64 Cursor = Pack + sizeof(HII_PACK_HEADER); Cursor < PackEnd;) {
    if (!Export.Holds(Cursor, sizeof(IFR_OP_HEADER))) return;
    UINT8 *Op = Db.ExportBuffer + Cursor;
    UINT8 OpLength = Op[offsetof(IFR_OP_HEADER, Length)];
    if (OpLength == 0 || !Export.Holds(Cursor, OpLength)) return;
    HandleOpcode(Db, Op, OpLength);
    Cursor += OpLength;
  }
}

void ParseDataTable(SetupFormDatabase &Db, UINT64 Table) {
  const UINT8 *Header = Db.ExportBuffer + Table;
  UINT32 IfrOffset = Le32(Header + offsetof(HII_DATA_TABLE, IfrDataOffset));
  if (IfrOffset == 0) return;
  Db.CurrentVariableName = Db.DefaultVariableName;
  if (Le32(Header + offsetof(HII_DATA_TABLE, VariableDataOffset)) != 0 && !CollectVariablePacks(Db, Header)) {
    return;
  }
  WalkIfrPack(Db, Table + IfrOffset);
}

}  // namespace

EFI_STATUS SetupFormDatabase::ParseForms() {
  // Within one parse nobody else writes variables: read each one once.
  Variables.Start();
  StringCacheTable = nullptr;
  for (UINT8 *&Pack : VariablePacks) Pack = nullptr;
  DroppingOptions = 0;

  const ExportSpan Whole = Export();
  UINT64 Table = ExportHeaderSize;
  for (UINT32 Index = 0; Index < DataTableCount; ++Index) {
    if (!Whole.Holds(Table, sizeof(HII_DATA_TABLE))) break;
    CurrentDataTable = ExportBuffer + Table;
    CurrentVariableGuid = nullptr;
    CurrentVariableName = nullptr;
    CurrentVariableSize = 0;
    CurrentVariableAttributes = 0;
    // A size of 0 ends the walk. So does a size below the table's own
    // header: the next table would begin inside this one's header.
    UINT32 Size = Le32(CurrentDataTable + offsetof(HII_DATA_TABLE, DataTableSize));
    if (Size < sizeof(HII_DATA_TABLE)) break;
    // A table that runs past the export is read as far as its packs lie
    // inside it; there is no next table to step to.
    ParseDataTable(*this, Table);
    if (!Whole.Holds(Table, Size)) break;
    Table += Size;
  }
  Variables.Stop();
  return EFI_SUCCESS;
}

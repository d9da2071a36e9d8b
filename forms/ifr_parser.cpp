// ParseForms: the walk over the data tables and their Framework IFR.
//
// One pass, no recursion: every data table in export order, every opcode of
// its IFR pack in order. Forms and one-of, checkbox and numeric questions
// become records; condition and varstore opcodes steer the state that the
// following records take; everything else leaves no trace. The export is
// firmware data, so every table, pack and opcode is checked to lie inside
// the buffer, and an opcode too short for the operands it needs is ignored.
#include "forms/conditions.h"
#include "hiibuild/framework_hii.h"
#include "forms/question_options.h"
#include "forms/string_lookup.h"
#include "forms/variable_store.h"

#include "runtime/crt.h"

namespace {

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

// A zero-filled record that copies the variable context; nullptr when the
// pool has no room for it.
SetupQuestion *NewRecord(SetupFormDatabase &Db, UINT8 Code) {
  void *Memory = Db.Records.Allocate(sizeof(SetupQuestion));
  if (Memory == nullptr) return nullptr;
  auto *Record = ::new (Memory) SetupQuestion{};
  Record->OpCode = Code;
  Record->VariableGuid = Db.CurrentVariableGuid;
  Record->VariableName = Db.CurrentVariableName;
  Record->VariableSize = Db.CurrentVariableSize;
  Record->VariableAttributes = Db.CurrentVariableAttributes;
  return Record;
}

// One-of, checkbox and numeric questions: value, prompt, options, flags.
void KeepQuestion(SetupFormDatabase &Db, SetupQuestion *Question, const UINT8 *Op) {
  ReadQuestionValue(Db, Question, Le16(Op + offsetof(IFR_QUESTION_HEAD, QuestionId)),
                    Op[offsetof(IFR_QUESTION_HEAD, Width)]);
  SetPrompt(Db, Question, Le16(Op + offsetof(IFR_QUESTION_HEAD, Prompt)));
  // The one-of's own options follow it; whatever is pending is not its.
  Db.PendingOptions.Clear();
  if (Op[0] == IFR_OP_ONE_OF) Db.DroppingOptions = 0;
  if (Op[0] == IFR_OP_CHECKBOX) Question->Options = MakeCheckboxOptions(Db);
  if (Op[0] == IFR_OP_NUMERIC) {
    Question->Options = MakeNumericOptions(Db, Le16(Op + offsetof(IFR_NUMERIC, Minimum)),
                                           Le16(Op + offsetof(IFR_NUMERIC, Maximum)),
                                           Le16(Op + offsetof(IFR_NUMERIC, Step)));
  }
  ApplyConditionResults(Db, Question);
  Db.AppendQuestion(Question);
}

void KeepForm(SetupFormDatabase &Db, SetupQuestion *Form, const UINT8 *Op) {
  Form->FormId = Le16(Op + offsetof(IFR_FORM, FormId));
  SetPrompt(Db, Form, Le16(Op + offsetof(IFR_FORM, FormTitle)));
  Db.AppendQuestion(Form);
}

// Forms and questions take a record. Only they do: every other opcode
// changes parser state and keeps nothing. A record that cannot be allocated
// passes its opcode over; a one-of passed over drops its options rather
// than hand them to the question before it.
void KeepRecord(SetupFormDatabase &Db, const UINT8 *Op) {
  SetupQuestion *Record = NewRecord(Db, Op[0]);
  if (Record == nullptr) {
    if (Op[0] == IFR_OP_ONE_OF) Db.DroppingOptions = 1;
    return;
  }
  if (Op[0] == IFR_OP_FORM) {
    KeepForm(Db, Record, Op);
  } else {
    KeepQuestion(Db, Record, Op);
  }
}

void AddOption(SetupFormDatabase &Db, const UINT8 *Op) {
  LookedUpString Text = LookupString(Db, Le16(Op + offsetof(IFR_ONE_OF_OPTION, Option)));
  AddPendingOption(Db, OptionView{Text.Text, Text.Length, Le16(Op + offsetof(IFR_ONE_OF_OPTION, Value))});
}

// The pending options replace whatever options the last record had.
void AttachPendingOptions(SetupFormDatabase &Db) {
  if (Db.QuestionsTail == nullptr) {
    Db.PendingOptions.Clear();
    return;
  }
  Db.QuestionsTail->Options = TakePendingOptions(Db);
}

void SelectVarStoreById(SetupFormDatabase &Db, UINT16 Id) {
  Db.CurrentVarStoreId = Id;
  SelectVarStore(Db, Id);
}

// Option scopes that belong to no record: an ordered list's, and that of a
// one-of that could not be kept. Their options must not reach any record.
// True when the opcode needs nothing more.
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
  if (Length < OperandBytesNeeded(Code)) {
    if (Code == IFR_OP_ONE_OF) Db.DroppingOptions = 1;
    return;
  }
  switch (Code) {
    case IFR_OP_FORM:
    case IFR_OP_ONE_OF:
    case IFR_OP_CHECKBOX:
    case IFR_OP_NUMERIC: KeepRecord(Db, Op); return;
    case IFR_OP_ONE_OF_OPTION: AddOption(Db, Op); return;
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
  // Between one-ofs the collection holds nothing worth its memory.
  if (PendingOptions.Count() == 0) PendingOptions.Release();
  return EFI_SUCCESS;
}

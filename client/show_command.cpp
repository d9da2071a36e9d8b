// show: the machine's setup as a person reads it, and show --json: every
// question as scripts and fleet tools read it.
//
//   Main
//     Quiet Boot = Enabled  {Enabled | Disabled}
//     Fan PWM Offset = 16  {0..100 step 1}
//     Boot Mode = UEFI  {UEFI | Legacy | Dual}  [grayed out]
//     Advanced ...
//
// Forms nest as the IFR's references nest them; values read by their
// option texts; suppressed and hidden questions only with --all, marked.
// The JSON is an object of one array, "Attributes", with one object per
// question whatever its flags, in the shape of a BIOS attribute registry.
#include "client/question_list.h"
#include "client/record_report.h"
#include "client/tool_commands.h"
#include "inicontract/import_rules.h"
#include "inicontract/section_path.h"
#include "runtime/crt.h"

namespace {

constexpr UINT32 HIDING = BIOS_CONFIG_QUESTION_SUPPRESSED | BIOS_CONFIG_QUESTION_HIDDEN;

const CHAR16 *OptionText(const BIOS_CONFIG_QUESTION &Q, UINT32 Value) {
  for (UINT32 Index = 0; Q.OptionKind == BIOS_CONFIG_OPTIONS_LIST && Index < Q.OptionCount; ++Index) {
    if (Q.Options[Index].Value == Value) return Q.Options[Index].Text;
  }
  return nullptr;
}

void Indent(ConsoleWriter &Out, UINT32 Depth) {
  for (UINT32 Level = 0; Level < Depth; ++Level) Out.Text("  ");
}

struct ShowContext {
  ConsoleWriter &Out;
  UINT32 Depth;
  bool All;
};

BOOLEAN BIOSCFG_EFIAPI ShowQuestion(VOID *Context, CONST BIOS_CONFIG_QUESTION *Q) {
  auto &C = *static_cast<ShowContext *>(Context);
  if (!C.All && (Q->Flags & HIDING) != 0) return TRUE;
  Indent(C.Out, C.Depth + 1);
  if (Q->Prompt != nullptr) C.Out.Escaped(Q->Prompt, WideLength(Q->Prompt));
  C.Out.Text(" = ");
  if (const CHAR16 *Text = OptionText(*Q, Q->Value)) {
    C.Out.Escaped(Text, WideLength(Text));
  } else {
    C.Out.Unsigned(Q->Value);
  }
  if (Q->OptionKind == BIOS_CONFIG_OPTIONS_LIST) {
    C.Out.Text("  {");
    for (UINT32 Index = 0; Index < Q->OptionCount; ++Index) {
      if (Index != 0) C.Out.Text(" | ");
      const CHAR16 *Text = Q->Options[Index].Text;
      if (Text != nullptr) {
        C.Out.Escaped(Text, WideLength(Text));
      } else {
        C.Out.Unsigned(Q->Options[Index].Value);
      }
    }
    C.Out.Text("}");
  } else if (Q->OptionKind == BIOS_CONFIG_OPTIONS_RANGE) {
    C.Out.Text("  {").Unsigned(Q->Minimum).Text("..").Unsigned(Q->Maximum).Text(" step ").Unsigned(Q->Step).Text("}");
  } else {
    C.Out.Text("  {any value}");
  }
  if (Q->Flags & BIOS_CONFIG_QUESTION_SUPPRESSED) C.Out.Text("  [suppressed]");
  if (Q->Flags & BIOS_CONFIG_QUESTION_HIDDEN) C.Out.Text("  [hidden]");
  if (Q->Flags & BIOS_CONFIG_QUESTION_GRAYED_OUT) C.Out.Text("  [grayed out]");
  C.Out.EndLine();
  return TRUE;
}

EFI_STATUS ShowTree(ToolContext &C, const FormTree &Forms) {
  PrintResult(C.Out, EFI_SUCCESS);
  for (UINT32 Step = 0; Step < Forms.Count(); ++Step) {
    const UINT32 Position = Forms.Shown(Step);
    const FormNode &Form = Forms.Form(Position);
    Indent(C.Out, Form.Depth);
    if (Form.Title != nullptr) {
      C.Out.Escaped(Form.Title, WideLength(Form.Title));
    } else {
      C.Out.Text("(form ").Unsigned(Form.FormId).Text(")");
    }
    C.Out.EndLine();
    ShowContext Show{C.Out, Form.Depth, C.Args.AllQuestions};
    const EFI_STATUS Status = Forms.EachQuestion(C.Extensions, Position, ShowQuestion, &Show);
    if (Status != EFI_SUCCESS) return Status;
  }
  return EFI_SUCCESS;
}

// --- JSON -----------------------------------------------------------------

// The section the INI import reads a question's key from, kept as the
// import keeps it: forms and serial-port questions open sections, walked
// over the records the import walks (a prompt, no condition flags).
struct SectionWalk {
  char Path[inicontract::SECTION_PATH_BYTES] = "BIOS";
  UINT16 PreviousFormId = 0;
  UINT16 SerialCount = 0;

  void EnterForm(const CHAR16 *Title, UINT16 FormId) {
    char Narrow[inicontract::SECTION_PATH_BYTES];
    inicontract::NarrowPrompt(Title, WideLength(Title), false, Narrow, sizeof Narrow);
    char Section[inicontract::SECTION_PATH_BYTES] = {};
    inicontract::BuildSectionPath(Path, PreviousFormId, Narrow, FormId, Section);
    crt::memcpy(Path, inicontract::UppercaseAscii(Section), sizeof Path);
    PreviousFormId = FormId;
  }
  void EnterSerial(const char *Key) {
    char Section[inicontract::SECTION_PATH_BYTES] = {};
    inicontract::BuildSerialSectionPath(Path, &PreviousFormId, &SerialCount, Key, Section);
    crt::memcpy(Path, inicontract::UppercaseAscii(Section), sizeof Path);
  }
};

struct JsonContext {
  ConsoleWriter &Out;
  const FormTree &Forms;
  SectionWalk Sections;
  UINT32 Form = NO_PARENT;  // position of the form being walked
  bool First = true;
};

void QuotedWide(ConsoleWriter &Out, const CHAR16 *Text) {
  if (Text == nullptr) {
    Out.Text("null");
  } else {
    Out.QuotedZ(Text);
  }
}

// "./Advanced/Processor Configuration": the forms above and the question's own.
void MenuPath(ConsoleWriter &Out, const FormTree &Forms, UINT32 Position) {
  UINT32 Chain[64];
  UINT32 Count = 0;
  for (UINT32 At = Position; At != NO_PARENT && Count < 64; At = Forms.Form(At).Parent) Chain[Count++] = At;
  Out.Text("\".");
  while (Count > 0) {
    const FormNode &Form = Forms.Form(Chain[--Count]);
    Out.Text("/");
    if (Form.Title != nullptr) Out.Escaped(Form.Title, WideLength(Form.Title));
  }
  Out.Text("\"");
}

void JsonValue(ConsoleWriter &Out, const BIOS_CONFIG_QUESTION &Q) {
  if (Q.OpCode == BIOS_SETTING_TYPE_CHECKBOX) {
    Out.Text(Q.Value != 0 ? "true" : "false");
  } else if (Q.OpCode == BIOS_SETTING_TYPE_ONE_OF && OptionText(Q, Q.Value) != nullptr) {
    QuotedWide(Out, OptionText(Q, Q.Value));
  } else {
    Out.Unsigned(Q.Value);
  }
}

// AttributeName is the question's INI section and key joined by "::": the
// name under which save writes it and load reads it.
void JsonQuestion(JsonContext &C, const BIOS_CONFIG_QUESTION &Q, const char *Name, const char *Section,
                  const char *Key) {
  ConsoleWriter &Out = C.Out;
  Out.Text(C.First ? "  {" : ",\r\n  {");
  C.First = false;
  Out.Text("\"AttributeName\": ").QuotedBytes(Name, crt::strlen(Name));
  Out.Text(", \"Section\": ").QuotedBytes(Section, crt::strlen(Section));
  Out.Text(", \"Key\": ").QuotedBytes(Key, crt::strlen(Key));
  Out.Text(", \"DisplayName\": ");
  QuotedWide(Out, Q.Prompt);
  const char *Type = Q.OpCode == BIOS_SETTING_TYPE_CHECKBOX ? "Boolean"
                     : Q.OpCode == BIOS_SETTING_TYPE_ONE_OF ? "Enumeration"
                                                            : "Integer";
  Out.Text(", \"Type\": \"").Text(Type).Text("\", \"CurrentValue\": ");
  JsonValue(Out, Q);
  Out.Text(", \"CurrentNumber\": ").Unsigned(Q.Value);
  if (Q.OptionKind == BIOS_CONFIG_OPTIONS_LIST) {
    Out.Text(", \"Value\": [");
    for (UINT32 Index = 0; Index < Q.OptionCount; ++Index) {
      const BIOS_CONFIG_OPTION &Option = Q.Options[Index];
      Out.Text(Index == 0 ? "{" : ", {").Text("\"ValueName\": ");
      QuotedWide(Out, Option.Text);
      Out.Text(", \"ValueDisplayName\": ");
      QuotedWide(Out, Option.Text);
      Out.Text(", \"ValueNumber\": ").Unsigned(Option.Value).Text("}");
    }
    Out.Text("]");
  } else if (Q.OptionKind == BIOS_CONFIG_OPTIONS_RANGE) {
    Out.Text(", \"LowerBound\": ").Unsigned(Q.Minimum).Text(", \"UpperBound\": ").Unsigned(Q.Maximum);
    Out.Text(", \"ScalarIncrement\": ").Unsigned(Q.Step);
  }
  const bool Writable = Q.VariableName != nullptr && (Q.Width == 1 || Q.Width == 2 || Q.Width == 4);
  const bool GrayOut = (Q.Flags & BIOS_CONFIG_QUESTION_GRAYED_OUT) != 0;
  Out.Text(", \"ReadOnly\": ").Text(GrayOut || !Writable ? "true" : "false");
  Out.Text(", \"GrayOut\": ").Text(GrayOut ? "true" : "false");
  Out.Text(", \"Hidden\": ").Text((Q.Flags & HIDING) != 0 ? "true" : "false");
  Out.Text(", \"MenuPath\": ");
  if (C.Form != NO_PARENT) {
    MenuPath(Out, C.Forms, C.Form);
  } else {
    Out.Text("\".\"");
  }
  Out.Text(", \"Variable\": {\"Name\": ");
  QuotedWide(Out, Q.VariableName);
  const EFI_GUID &G = Q.VariableGuid;
  Out.Text(", \"Guid\": \"").Hex(G.Data1, 8).Text("-").Hex(G.Data2, 4).Text("-").Hex(G.Data3, 4).Text("-");
  for (int Byte = 0; Byte < 8; ++Byte) {
    if (Byte == 2) Out.Text("-");
    Out.Hex(G.Data4[Byte], 2);
  }
  Out.Text("\", \"Offset\": ").Unsigned(Q.Offset).Text(", \"Width\": ").Unsigned(Q.Width).Text("}}");
}

BOOLEAN BIOSCFG_EFIAPI JsonRecord(VOID *Context, CONST BIOS_CONFIG_QUESTION *Q) {
  auto &C = *static_cast<JsonContext *>(Context);
  const bool Walked = Q->Prompt != nullptr && Q->Prompt[0] != 0 && Q->Flags == 0;
  if (Q->OpCode == FORM_OPCODE) {
    for (UINT32 Position = 0; Position < C.Forms.Count(); ++Position) {
      if (C.Forms.Form(Position).Index == Q->Index) C.Form = Position;
    }
    if (Walked) C.Sections.EnterForm(Q->Prompt, Q->FormId);
    return TRUE;
  }
  char Key[inicontract::INI_KEY_TEXT_BYTES];
  inicontract::NarrowPrompt(Q->Prompt, Q->Prompt == nullptr ? 0 : WideLength(Q->Prompt), true, Key, sizeof Key);
  // A question the import passes over names the section it would have
  // opened, without moving the walk on.
  SectionWalk Own = C.Sections;
  SectionWalk &Walk = Walked ? C.Sections : Own;
  if (inicontract::KeyOpensSerialSection(Key)) Walk.EnterSerial(Key);
  char Name[inicontract::SECTION_PATH_BYTES + inicontract::INI_KEY_TEXT_BYTES + 2];
  (void)crt::snprintf(Name, sizeof Name, "%s::%s", Walk.Path, Key);
  JsonQuestion(C, *Q, Name, Walk.Path, Key);
  return TRUE;
}

EFI_STATUS ShowJson(ToolContext &C, const FormTree &Forms) {
  JsonContext Json{C.Out, Forms, {}};
  C.Out.Text("{\"Attributes\": [").EndLine();
  const EFI_STATUS Status = C.Extensions->EnumerateQuestions(C.Extensions, 0, JsonRecord, &Json);
  C.Out.EndLine().Text("]}").EndLine();
  return Status;
}

}  // namespace

EFI_STATUS RunShow(ToolContext &C) {
  FormTree Forms;
  const EFI_STATUS Status = Forms.Read(C.Extensions);
  if (Status != EFI_SUCCESS) {
    PrintResult(C.Out, Status);
    PrintLastErrorText(C.Out, C.Protocol);
    return Status;
  }
  return C.Args.Json ? ShowJson(C, Forms) : ShowTree(C, Forms);
}

#include "client/record_report.h"

#include "client/status_names.h"

namespace {

const char *TypeName(UINT8 Type) {
  switch (Type) {
    case BIOS_SETTING_TYPE_ONE_OF: return "one-of";
    case BIOS_SETTING_TYPE_CHECKBOX: return "checkbox";
    case BIOS_SETTING_TYPE_NUMERIC: return "numeric";
    default: return nullptr;
  }
}

const CHAR16 *TextAt(UINT32 Address) { return reinterpret_cast<const CHAR16 *>(static_cast<UINTN>(Address)); }

}  // namespace

void PrintResult(ConsoleWriter &Out, EFI_STATUS Status) {
  Out.Text("result: ");
  const char *Name = StatusName(Status);
  if (Name != nullptr) {
    Out.Text(Name);
  } else {
    Out.Text("0x").Hex(Status, 16);
  }
  Out.EndLine();
}

void PrintLastErrorText(ConsoleWriter &Out, BIOS_CONFIG_PROTOCOL *Protocol) {
  CHAR16 *Text = nullptr;
  if (Protocol->GetLastErrorText(Protocol, &Text) != EFI_SUCCESS || Text == nullptr) return;
  // The driver's texts start and end with line breaks; each line stands alone.
  UINT32 Start = 0;
  for (UINT32 At = 0;; ++At) {
    const CHAR16 Unit = WideUnit(Text, At);
    if (Unit != 0 && Unit != '\n' && Unit != '\r') continue;
    if (At > Start) Out.Text("error: ").Escaped(Text + Start, At - Start).EndLine();
    if (Unit == 0) break;
    Start = At + 1;
  }
}

void PrintToolError(ConsoleWriter &Out, const char *Before, const CHAR16 *Quoted, const char *After) {
  Out.Text("error: ").Text(Before);
  if (Quoted != nullptr) Out.QuotedZ(Quoted);
  Out.Text(After).EndLine();
}

void PrintRequest(ConsoleWriter &Out, const BIOS_SETTING_REQUEST &Request) {
  Out.Text("record: found=").Unsigned(Request.Found);
  if (const char *Type = TypeName(Request.Type)) Out.Text(" type=").Text(Type).Text(" value=").Unsigned(Request.Value);
  Out.Text(" prompt=").QuotedZ(Request.Name);
  if (Request.Options != nullptr) {
    Out.Text(" options=");
    for (const BIOS_SETTING_OPTION *Option = Request.Options; Option != nullptr; Option = Option->Next) {
      if (Option != Request.Options) Out.Text(",");
      Out.Unsigned(Option->Value).Text("=");
      if (Option->TextAddress == 0) {
        Out.Text("<none>");
      } else {
        Out.Quoted(TextAt(Option->TextAddress), Option->TextLength);
      }
    }
  }
  Out.EndLine();
}

void PrintValueRecord(ConsoleWriter &Out, const BIOS_SETTING_VALUE &Record) {
  Out.Text("record: status=").Unsigned(Record.Status).Text(" value=").Unsigned(Record.Value);
  Out.Text(" prompt=").QuotedZ(Record.Name).EndLine();
}

// get, get-form, set and set-form: the protocol's four operations on
// questions, one call each, with the records printed as the driver left
// them. set and set-form go through the driver's second protocol, which
// reports each change (and, with --dry-run, writes nothing).
#include "client/backup.h"
#include "client/record_report.h"
#include "client/setting_lists.h"
#include "client/step_log.h"
#include "client/tool_commands.h"

namespace {

EFI_STATUS Refuse(ToolContext &C, const char *Before, const CHAR16 *Quoted, const char *After) {
  PrintResult(C.Out, EFI_INVALID_PARAMETER);
  PrintToolError(C.Out, Before, Quoted, After);
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS RunGetOperation(ToolContext &C, bool FormPath) {
  RequestRecords Requests;
  if (!Requests.Build(C.Args.Operands, C.Args.OperandCount)) return Refuse(C, "out of memory", nullptr, "");
  BIOS_CONFIG_PROTOCOL *P = C.Protocol;
  const EFI_STATUS Status =
      FormPath ? P->GetFormSettings(P, Requests.Head()) : P->GetSettings(P, Requests.Head());
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, P);
  for (UINTN Index = 0; Index < Requests.Count(); ++Index) PrintRequest(C.Out, Requests.At(Index));
  return Status;
}

bool SameTextIgnoringCase(const CHAR16 *Option, UINT32 Length, const CHAR16 *Wanted) {
  for (UINT32 Index = 0; Index < Length; ++Index) {
    CHAR16 A = WideUnit(Option, Index);
    CHAR16 B = Wanted[Index];
    if (A >= 'a' && A <= 'z') A = static_cast<CHAR16>(A - 'a' + 'A');
    if (B >= 'a' && B <= 'z') B = static_cast<CHAR16>(B - 'a' + 'A');
    if (A != B || B == 0) return false;
  }
  return Wanted[Length] == 0;
}

// Values given as option texts become the values of those options, read
// from the same questions through the matching get operation.
EFI_STATUS ResolveOptionTexts(ToolContext &C, ValueRecords &Values, bool FormPath) {
  bool AnyText = false;
  for (UINTN Index = 0; Index < Values.Count(); ++Index) AnyText = AnyText || !Values.Operand(Index).Numeric;
  if (!AnyText) return EFI_SUCCESS;
  RequestRecords Requests;
  if (!Requests.Build(Values.Names(), Values.Count())) return Refuse(C, "out of memory", nullptr, "");
  BIOS_CONFIG_PROTOCOL *P = C.Protocol;
  const EFI_STATUS Status =
      FormPath ? P->GetFormSettings(P, Requests.Head()) : P->GetSettings(P, Requests.Head());
  if (Status != EFI_SUCCESS) {
    PrintResult(C.Out, Status);
    PrintLastErrorText(C.Out, P);
    return Status;
  }
  for (UINTN Index = 0; Index < Values.Count(); ++Index) {
    const ValueOperand &Operand = Values.Operand(Index);
    if (Operand.Numeric) continue;
    bool Found = false;
    for (const BIOS_SETTING_OPTION *O = Requests.At(Index).Options; O != nullptr && !Found; O = O->Next) {
      const auto *Text = reinterpret_cast<const CHAR16 *>(static_cast<UINTN>(O->TextAddress));
      if (Text == nullptr || !SameTextIgnoringCase(Text, O->TextLength, Operand.ValueText)) continue;
      Values.At(Index).Value = O->Value;
      Found = true;
    }
    if (!Found) {
      PrintResult(C.Out, EFI_INVALID_PARAMETER);
      C.Out.Text("error: ").QuotedZ(Operand.ValueText).Text(" is neither a number nor an option of ");
      C.Out.QuotedZ(Values.At(Index).Name).EndLine();
      return EFI_INVALID_PARAMETER;
    }
  }
  return EFI_SUCCESS;
}

// A number that does not fit 32 bits is refused here, before the driver
// sees any of the list: it would otherwise reach it wrapped.
EFI_STATUS RefuseTooWide(ToolContext &C, const ValueRecords &Values) {
  for (UINTN Index = 0; Index < Values.Count(); ++Index) {
    if (!Values.Operand(Index).TooWide) continue;
    PrintResult(C.Out, BCFG_E_OUT_OF_RANGE);
    C.Out.Text("error: ").QuotedZ(Values.Operand(Index).ValueText).Text(" does not fit 32 bits: out of range for ");
    C.Out.QuotedZ(Values.Names()[Index]).Text("; nothing was written").EndLine();
    return BCFG_E_OUT_OF_RANGE;
  }
  return EFI_SUCCESS;
}

EFI_STATUS RunSetOperation(ToolContext &C, bool FormPath) {
  ValueRecords Values;
  switch (Values.Build(C.Args.Operands, C.Args.OperandCount, FormPath)) {
    case ValueRecords::BuildResult::Built: break;
    case ValueRecords::BuildResult::NoEquals: return Refuse(C, "expected PROMPT=VALUE, not ", Values.Offending(), "");
    case ValueRecords::BuildResult::OutOfMemory: return Refuse(C, "out of memory", nullptr, "");
  }
  EFI_STATUS Status = RefuseTooWide(C, Values);
  if (Status != EFI_SUCCESS) return Status;
  Status = ResolveOptionTexts(C, Values, FormPath);
  if (Status != EFI_SUCCESS) return Status;
  if (!C.Args.DryRun && C.Args.Backup) {
    Status = SaveBackup(C, "settings.ini");
    if (Status != EFI_SUCCESS) return Status;
  }
  StepLog Steps;
  const BIOS_CONFIG_RUN Run = Steps.Run(C.Args.DryRun);
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *X = C.Extensions;
  Status = FormPath ? X->RunSetFormSettings(X, Values.Head(), &Run) : X->RunSetSettings(X, Values.Head(), &Run);
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, C.Protocol);
  for (UINTN Index = 0; Index < Values.Count(); ++Index) PrintValueRecord(C.Out, Values.At(Index));
  Steps.Print(C.Out);
  if (C.Args.DryRun) PrintDryRunNote(C.Out);
  return Status;
}

}  // namespace

EFI_STATUS RunGet(ToolContext &C) { return RunGetOperation(C, false); }
EFI_STATUS RunGetForm(ToolContext &C) { return RunGetOperation(C, true); }
EFI_STATUS RunSet(ToolContext &C) { return RunSetOperation(C, false); }
EFI_STATUS RunSetForm(ToolContext &C) { return RunSetOperation(C, true); }

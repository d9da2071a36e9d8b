#include "client/tool_main.h"

#include "bioscfg_protocol.h"
#include "client/record_report.h"
#include "client/tool_commands.h"
#include "runtime/crt.h"

namespace {

EFI_GUID BiosConfigGuid = BIOS_CONFIG_PROTOCOL_GUID;
EFI_GUID ExtensionsGuid = BIOS_CONFIG_EXTENSIONS_PROTOCOL_GUID;

void ExplainMissingDriver(ConsoleWriter &Out) {
  Out.Text("bioscfg-tool: the bioscfg driver is not loaded. From the Shell, name the folder").EndLine();
  Out.Text("that holds bioscfg.efi, bioscfg.str and iniparse.efi, then load the driver:").EndLine();
  Out.Text("  set TORVEL_PATH fs0:\\tools").EndLine();
  Out.Text("  load -nc fs0:\\tools\\bioscfg.efi").EndLine();
}

EFI_STATUS RunCommand(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *System, ConsoleWriter &Out) {
  ArgumentSource Source;
  if (!Source.Read(ImageHandle, System->BootServices)) {
    PrintUsage(Out);
    return EFI_INVALID_PARAMETER;
  }
  const ToolArguments Args = ParseToolArguments(Source.Values(), Source.Count());
  if (Args.Help) {
    PrintUsage(Out);
    return EFI_SUCCESS;
  }
  const ToolCommand *Command = Args.Command != nullptr ? FindToolCommand(Args.Command) : nullptr;
  if (Args.Unknown != nullptr || Command == nullptr || Args.OperandCount < Command->MinimumOperands) {
    if (Args.Unknown != nullptr) PrintToolError(Out, "unknown option ", Args.Unknown, "");
    if (Args.Command != nullptr && Command == nullptr) PrintToolError(Out, "unknown command ", Args.Command, "");
    PrintUsage(Out);
    return EFI_INVALID_PARAMETER;
  }

  void *Interface = nullptr;
  void *ExtensionsInterface = nullptr;
  if (System->BootServices->LocateProtocol(&BiosConfigGuid, nullptr, &Interface) != EFI_SUCCESS ||
      Interface == nullptr ||
      System->BootServices->LocateProtocol(&ExtensionsGuid, nullptr, &ExtensionsInterface) != EFI_SUCCESS ||
      ExtensionsInterface == nullptr) {
    ExplainMissingDriver(Out);
    return EFI_NOT_FOUND;
  }
  auto *Protocol = static_cast<BIOS_CONFIG_PROTOCOL *>(Interface);
  auto *Extensions = static_cast<BIOS_CONFIG_EXTENSIONS_PROTOCOL *>(ExtensionsInterface);
  EFI_STATUS Status = Protocol->OpenSession(Protocol);
  if (Status != EFI_SUCCESS) {
    PrintResult(Out, Status);
    PrintToolError(Out, "no session: is bioscfg.str in the folder TORVEL_PATH names?", nullptr, "");
    return Status;
  }
  if (Args.AllQuestions) (void)Protocol->SetAllQuestionsMode(Protocol, 1);
  // Each changed variable written once per pass, unless asked otherwise.
  if (!Args.PerQuestionWrites) (void)Extensions->SetWriteMode(Extensions, BIOS_CONFIG_WRITES_COMBINED);
  ToolContext Context{Protocol, Extensions, Out, Args};
  Status = Command->Run(Context);
  (void)Protocol->CloseSession(Protocol);
  return Status;
}

}  // namespace

EFI_STATUS ToolMain(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  InitializeLib(ImageHandle, SystemTable);
  const EFI_STATUS Started = crt::Startup(ImageHandle, SystemTable);
  if (EFI_ERROR(Started) && crt::SystemTable() == nullptr) return Started;
  EFI_STATUS Status;
  {
    ConsoleWriter Out(SystemTable->ConOut);
    Status = RunCommand(ImageHandle, SystemTable, Out);
  }
  crt::Shutdown();
  return Status;
}

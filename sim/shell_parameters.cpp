// The arguments a UEFI Shell hands an application it starts: the Shell
// parameters protocol on the image handle (Argv already split and unquoted)
// and the raw command line as the image's load options.
#include "sim/firmware_state.h"
#include "sim/text.h"

namespace sim {
namespace {

EFI_GUID ShellParametersGuid = EFI_SHELL_PARAMETERS_PROTOCOL_GUID;

std::u16string Quoted(const std::u16string &Argument) {
  const bool Plain = !Argument.empty() && Argument.find_first_of(u" \t\"") == std::u16string::npos;
  return Plain ? Argument : u"\"" + Argument + u"\"";
}

}  // namespace

EFI_STATUS Firmware::SetShellArguments(EFI_HANDLE Image, const std::vector<std::u16string> &Arguments) {
  ImageRecord *Record = FindImage(*S, Image);
  if (Record == nullptr || Record->Started) return EFI_INVALID_PARAMETER;
  const std::u16string Program = Record->Descriptor ? FromUtf8(Record->Descriptor->FileName) : u"image";
  Record->Arguments.assign(1, Program);
  Record->Arguments.insert(Record->Arguments.end(), Arguments.begin(), Arguments.end());
  Record->ArgumentPointers.clear();
  Record->CommandLine.clear();
  for (std::u16string &Argument : Record->Arguments) {
    Record->ArgumentPointers.push_back(reinterpret_cast<CHAR16 *>(Argument.data()));
    if (!Record->CommandLine.empty()) Record->CommandLine += u" ";
    Record->CommandLine += Quoted(Argument);
  }
  Record->ShellParameters.Argv = Record->ArgumentPointers.data();
  Record->ShellParameters.Argc = Record->ArgumentPointers.size();
  Record->Loaded.LoadOptions = Record->CommandLine.data();
  Record->Loaded.LoadOptionsSize = static_cast<UINT32>((Record->CommandLine.size() + 1) * sizeof(char16_t));
  if (FindInterface(*S, Image, ShellParametersGuid) != nullptr) return EFI_SUCCESS;
  return InstallInterface(*S, &Record->Handle, ShellParametersGuid, &Record->ShellParameters);
}

}  // namespace sim

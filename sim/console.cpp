// Console: ConOut captures text for tests; ConIn never has a key.
#include "sim/firmware_state.h"

#include <cstdlib>

namespace sim {
namespace {

SIMPLE_TEXT_OUTPUT_MODE gOutputMode;
SIMPLE_TEXT_OUTPUT_INTERFACE gConOut;
SIMPLE_INPUT_INTERFACE gConIn;

// Guards against a missing terminator: no console line is this long.
constexpr size_t MAX_OUTPUT_UNITS = 1 << 20;

EFI_STATUS EFIAPI TextReset(SIMPLE_TEXT_OUTPUT_INTERFACE *, BOOLEAN) { return EFI_SUCCESS; }

EFI_STATUS EFIAPI OutputString(SIMPLE_TEXT_OUTPUT_INTERFACE *, CHAR16 *String) {
  if (String == nullptr) return EFI_INVALID_PARAMETER;
  State &S = ActiveState();
  for (size_t Index = 0; Index < MAX_OUTPUT_UNITS && String[Index] != 0; ++Index) {
    const CHAR16 Unit = String[Index];
    S.Console.push_back(Unit <= 0x7F ? static_cast<char>(Unit) : '?');
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI TestString(SIMPLE_TEXT_OUTPUT_INTERFACE *, CHAR16 *String) {
  return String == nullptr ? EFI_INVALID_PARAMETER : EFI_SUCCESS;
}

EFI_STATUS EFIAPI QueryMode(SIMPLE_TEXT_OUTPUT_INTERFACE *, UINTN Mode, UINTN *Columns, UINTN *Rows) {
  if (Columns == nullptr || Rows == nullptr) return EFI_INVALID_PARAMETER;
  if (Mode != 0) return EFI_UNSUPPORTED;
  *Columns = 80;
  *Rows = 25;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetMode(SIMPLE_TEXT_OUTPUT_INTERFACE *, UINTN Mode) { return Mode == 0 ? EFI_SUCCESS : EFI_UNSUPPORTED; }

EFI_STATUS EFIAPI SetAttribute(SIMPLE_TEXT_OUTPUT_INTERFACE *, UINTN Attribute) {
  gOutputMode.Attribute = static_cast<INT32>(Attribute);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ClearScreen(SIMPLE_TEXT_OUTPUT_INTERFACE *) { return EFI_SUCCESS; }
EFI_STATUS EFIAPI SetCursorPosition(SIMPLE_TEXT_OUTPUT_INTERFACE *, UINTN, UINTN) { return EFI_SUCCESS; }
EFI_STATUS EFIAPI EnableCursor(SIMPLE_TEXT_OUTPUT_INTERFACE *, BOOLEAN) { return EFI_SUCCESS; }

EFI_STATUS EFIAPI InputReset(SIMPLE_INPUT_INTERFACE *, BOOLEAN) { return EFI_SUCCESS; }
EFI_STATUS EFIAPI ReadKeyStroke(SIMPLE_INPUT_INTERFACE *, EFI_INPUT_KEY *Key) {
  return Key == nullptr ? EFI_INVALID_PARAMETER : EFI_NOT_READY;
}

}  // namespace

void WireConsole(EFI_SYSTEM_TABLE &System) {
  gOutputMode = SIMPLE_TEXT_OUTPUT_MODE{};
  gOutputMode.MaxMode = 1;
  gConOut = SIMPLE_TEXT_OUTPUT_INTERFACE{};
  gConOut.Reset = TextReset;
  gConOut.OutputString = OutputString;
  gConOut.TestString = TestString;
  gConOut.QueryMode = QueryMode;
  gConOut.SetMode = SetMode;
  gConOut.SetAttribute = SetAttribute;
  gConOut.ClearScreen = ClearScreen;
  gConOut.SetCursorPosition = SetCursorPosition;
  gConOut.EnableCursor = EnableCursor;
  gConOut.Mode = &gOutputMode;
  gConIn = SIMPLE_INPUT_INTERFACE{};
  gConIn.Reset = InputReset;
  gConIn.ReadKeyStroke = ReadKeyStroke;

  State &S = ActiveState();
  EFI_HANDLE Console = nullptr;
  EFI_STATUS Status = InstallInterface(S, &Console, gEfiSimpleTextOutProtocolGuid, &gConOut);
  if (Status == EFI_SUCCESS) Status = InstallInterface(S, &Console, gEfiSimpleTextInProtocolGuid, &gConIn);
  if (Status != EFI_SUCCESS) std::abort();
  System.ConsoleInHandle = Console;
  System.ConIn = &gConIn;
  System.ConsoleOutHandle = Console;
  System.ConOut = &gConOut;
  System.StandardErrorHandle = Console;
  System.StdErr = &gConOut;
}

std::string Firmware::ConsoleText() const { return S->Console; }
void Firmware::ClearConsole() { S->Console.clear(); }

}  // namespace sim

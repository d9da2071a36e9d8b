#include "settings/option_copy.h"

#include "forms/option_cursor.h"
#include "runtime/crt.h"

EFI_STATUS FillRequest(const SetupQuestion &Question, BIOS_SETTING_REQUEST &Request) {
  Request.Type = Question.OpCode;
  Request.Value = Question.Value;
  OptionCursor Cursor(Question);
  OptionView Option{};
  while (Cursor.Next(Option)) {
    auto *Node = static_cast<BIOS_SETTING_OPTION *>(crt::malloc(sizeof(BIOS_SETTING_OPTION)));
    if (Node == nullptr) return BCFG_E_OUT_OF_MEMORY;
    Node->TextAddress = static_cast<UINT32>(reinterpret_cast<UINTN>(Option.Text));
    Node->TextLength = Option.TextLength;
    Node->Value = Option.Value;
    Node->Next = Request.Options;
    Request.Options = Node;
  }
  Request.Found = 1;
  return EFI_SUCCESS;
}

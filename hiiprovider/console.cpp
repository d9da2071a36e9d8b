#include "hiiprovider/console.h"

#include "runtime/crt.h"

namespace hiiprovider {

void Say(const CHAR16 *Format, ...) {
  EFI_SYSTEM_TABLE *System = crt::SystemTable();
  if (System == nullptr || System->ConOut == nullptr) return;
  static constexpr char16_t PREFIX[] = u"hiiprovider: ";
  constexpr size_t PREFIX_UNITS = sizeof PREFIX / sizeof PREFIX[0] - 1;
  CHAR16 Line[CONSOLE_LINE_CHARS + PREFIX_UNITS + 3];
  for (size_t I = 0; I < PREFIX_UNITS; ++I) Line[I] = PREFIX[I];
  va_list Args;
  va_start(Args, Format);
  // On overflow vswprintf reports -1 but leaves the part that fitted.
  (void)crt::vswprintf(Line + PREFIX_UNITS, CONSOLE_LINE_CHARS + 1, Format, Args);
  va_end(Args);
  size_t Length = crt::wcslen(Line);
  Line[Length++] = '\r';
  Line[Length++] = '\n';
  Line[Length] = 0;
  System->ConOut->OutputString(System->ConOut, Line);
}

void FormatGuid(const EFI_GUID &Guid, CHAR16 (&Out)[GUID_TEXT_UNITS]) {
  (void)crt::swprintf(Out, GUID_TEXT_UNITS, W(u"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}"),
                      static_cast<unsigned>(Guid.Data1), Guid.Data2, Guid.Data3, Guid.Data4[0], Guid.Data4[1],
                      Guid.Data4[2], Guid.Data4[3], Guid.Data4[4], Guid.Data4[5], Guid.Data4[6], Guid.Data4[7]);
}

}  // namespace hiiprovider

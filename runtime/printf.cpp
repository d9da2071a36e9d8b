// The snprintf and swprintf families over the one formatting engine.
#include "runtime/crt.h"
#include "runtime/format.h"

namespace crt {

namespace {
constexpr size_t INT_MAX_VALUE = 0x7FFFFFFF;
}

int vsnprintf(char *Dest, size_t Size, const char *Format, va_list Args) {
  size_t Length = detail::FormatText(Dest, Size, Format, Args);
  return Length > INT_MAX_VALUE ? -1 : static_cast<int>(Length);
}

int snprintf(char *Dest, size_t Size, const char *Format, ...) {
  va_list Args;
  va_start(Args, Format);
  int Length = vsnprintf(Dest, Size, Format, Args);
  va_end(Args);
  return Length;
}

// Unlike vsnprintf, C's vswprintf reports a result that did not fit as -1;
// Dest still holds the part that fit, terminated.
int vswprintf(CHAR16 *Dest, size_t Size, const CHAR16 *Format, va_list Args) {
  size_t Length = detail::FormatText(Dest, Size, Format, Args);
  if (Length >= Size || Length > INT_MAX_VALUE) return -1;
  return static_cast<int>(Length);
}

int swprintf(CHAR16 *Dest, size_t Size, const CHAR16 *Format, ...) {
  va_list Args;
  va_start(Args, Format);
  int Length = vswprintf(Dest, Size, Format, Args);
  va_end(Args);
  return Length;
}

}  // namespace crt

// Number parsing and the C-locale conversions between 8-bit and CHAR16
// text, where each byte is one character whose value is the unit's value.
#include "runtime/no_libcalls.h"

#include "runtime/crt.h"

namespace crt {

namespace {

constexpr unsigned long LONG_MAX_VALUE = ~0UL >> 1;

int DigitValue(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'z') return C - 'a' + 10;
  if (C >= 'A' && C <= 'Z') return C - 'A' + 10;
  return 99;
}

bool HasHexPrefix(const char *S) {
  return S[0] == '0' && (S[1] == 'x' || S[1] == 'X') && DigitValue(S[2]) < 16;
}

}  // namespace

// As in C: leading white space, an optional sign, "0x" for base 16 or 0, a
// leading 0 meaning octal for base 0; an out-of-range value saturates.
long strtol(const char *S, char **End, int Base) {
  const char *At = S;
  if (End != nullptr) *End = const_cast<char *>(S);
  if (Base < 0 || Base == 1 || Base > 36) return 0;
  while (isspace(static_cast<unsigned char>(*At))) ++At;
  bool Negative = *At == '-';
  if (*At == '-' || *At == '+') ++At;
  if ((Base == 0 || Base == 16) && HasHexPrefix(At)) {
    At += 2;
    Base = 16;
  } else if (Base == 0) {
    Base = At[0] == '0' ? 8 : 10;
  }

  // The magnitude limit differs by one between the two signs.
  const unsigned long Limit = Negative ? LONG_MAX_VALUE + 1 : LONG_MAX_VALUE;
  unsigned long Value = 0;
  bool Overflow = false;
  const char *Digits = At;
  for (; DigitValue(*At) < Base; ++At) {
    auto Digit = static_cast<unsigned long>(DigitValue(*At));
    if (Value > (Limit - Digit) / static_cast<unsigned long>(Base)) {
      Overflow = true;
    } else {
      Value = Value * static_cast<unsigned long>(Base) + Digit;
    }
  }
  if (At == Digits) return 0;
  if (End != nullptr) *End = const_cast<char *>(At);
  if (Overflow) Value = Limit;
  if (!Negative) return static_cast<long>(Value);
  return Value == LONG_MAX_VALUE + 1 ? -static_cast<long>(LONG_MAX_VALUE) - 1 : -static_cast<long>(Value);
}

int atoi(const char *S) { return static_cast<int>(strtol(S, nullptr, 10)); }

size_t wcstombs(char *Dest, const CHAR16 *Src, size_t Max) {
  size_t Count = 0;
  for (; Dest == nullptr || Count < Max; ++Count) {
    CHAR16 Unit = Src[Count];
    if (Unit > 0xFF) return static_cast<size_t>(-1);
    if (Dest != nullptr) Dest[Count] = static_cast<char>(Unit);
    if (Unit == 0) break;
  }
  return Count;
}

size_t mbstowcs(CHAR16 *Dest, const char *Src, size_t Max) {
  size_t Count = 0;
  for (; Dest == nullptr || Count < Max; ++Count) {
    auto Unit = static_cast<CHAR16>(static_cast<unsigned char>(Src[Count]));
    if (Dest != nullptr) Dest[Count] = Unit;
    if (Unit == 0) break;
  }
  return Count;
}

}  // namespace crt

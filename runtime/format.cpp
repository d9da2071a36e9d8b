// The formatting engine (see format.h).
#include "runtime/format.h"

#include "runtime/crt.h"

namespace crt::detail {

namespace {

// Bounds for widths and precisions so that their arithmetic cannot overflow;
// a larger request is clamped (no caller pads a line by a megabyte).
constexpr int MAX_FIELD = 1 << 20;

enum class LengthModifier { None, Char, Short, Long, LongLong, Size };

struct FieldFormat {
  bool LeftAlign = false;
  bool ZeroPad = false;
  bool PlusSign = false;
  bool SpaceSign = false;
  bool Alternate = false;
  int Width = 0;
  int Precision = -1;  // -1: none given
  LengthModifier Length = LengthModifier::None;
};

// va_list is an array type on x86-64; wrapping it lets helpers take it by
// reference portably.
struct ArgumentList {
  va_list List;
};

template <class CharT> class Formatter {
 public:
  Formatter(CharT *Dest, size_t Size) : Dest(Dest), Size(Size) {}

  size_t Run(const CharT *Format, ArgumentList &Args) {
    const CharT *At = Format;
    while (*At != 0) {
      if (*At != '%') {
        Put(*At++);
        continue;
      }
      At = Conversion(At, Args);
    }
    Terminate();
    return Length;
  }

 private:
  void Put(CharT C) {
    if (Length + 1 < Size) Dest[Length] = C;
    ++Length;
  }

  void Repeat(CharT C, size_t Count) {
    for (size_t I = 0; I < Count; ++I) Put(C);
  }

  void Terminate() {
    if (Size == 0) return;
    Dest[Length < Size ? Length : Size - 1] = 0;
  }

  static int ReadNumber(const CharT *&At) {
    int Value = 0;
    for (; *At >= '0' && *At <= '9'; ++At) {
      if (Value < MAX_FIELD) Value = Value * 10 + static_cast<int>(*At - '0');
    }
    return Value < MAX_FIELD ? Value : MAX_FIELD;
  }

  static int Clamp(int Value) { return Value > MAX_FIELD ? MAX_FIELD : Value; }

  // Parses one conversion starting at '%' and prints it; returns the
  // position after it.
  const CharT *Conversion(const CharT *Percent, ArgumentList &Args) {
    const CharT *At = Percent + 1;
    FieldFormat Field;
    ParseFlags(At, Field);
    if (*At == '*') {
      ++At;
      int Width = va_arg(Args.List, int);
      if (Width < 0) {
        Field.LeftAlign = true;
        Width = Width < -MAX_FIELD ? MAX_FIELD : -Width;
      }
      Field.Width = Clamp(Width);
    } else {
      Field.Width = ReadNumber(At);
    }
    if (*At == '.') {
      ++At;
      if (*At == '*') {
        ++At;
        int Precision = va_arg(Args.List, int);
        Field.Precision = Precision < 0 ? -1 : Clamp(Precision);
      } else {
        Field.Precision = ReadNumber(At);
      }
    }
    ParseLength(At, Field);

    switch (*At) {
      case 'd':
      case 'i':
        SignedInteger(Field, Args);
        return At + 1;
      case 'u':
        UnsignedInteger(Field, FetchUnsigned(Field, Args), 10, false, nullptr);
        return At + 1;
      case 'o':
        UnsignedInteger(Field, FetchUnsigned(Field, Args), 8, false, nullptr);
        return At + 1;
      case 'x':
      case 'X':
        UnsignedInteger(Field, FetchUnsigned(Field, Args), 16, *At == 'X', nullptr);
        return At + 1;
      case 'p':
        Pointer(Field, Args);
        return At + 1;
      case 'c':
        Character(Field, Args);
        return At + 1;
      case 's':
        String(Field, Args);
        return At + 1;
      case '%':
        Put('%');
        return At + 1;
      default:
        // Unknown or cut-off conversion: shown as written, so the mistake is
        // visible in the output.
        for (const CharT *Echo = Percent; Echo < At; ++Echo) Put(*Echo);
        return At;
    }
  }

  static void ParseFlags(const CharT *&At, FieldFormat &Field) {
    for (;; ++At) {
      switch (*At) {
        case '-': Field.LeftAlign = true; break;
        case '0': Field.ZeroPad = true; break;
        case '+': Field.PlusSign = true; break;
        case ' ': Field.SpaceSign = true; break;
        case '#': Field.Alternate = true; break;
        default: return;
      }
    }
  }

  static void ParseLength(const CharT *&At, FieldFormat &Field) {
    if (*At == 'h') {
      ++At;
      Field.Length = LengthModifier::Short;
      if (*At == 'h') {
        ++At;
        Field.Length = LengthModifier::Char;
      }
    } else if (*At == 'l') {
      ++At;
      Field.Length = LengthModifier::Long;
      if (*At == 'l') {
        ++At;
        Field.Length = LengthModifier::LongLong;
      }
    } else if (*At == 'z') {
      ++At;
      Field.Length = LengthModifier::Size;
    }
  }

  static unsigned long long FetchUnsigned(const FieldFormat &Field, ArgumentList &Args) {
    switch (Field.Length) {
      case LengthModifier::Char: return static_cast<unsigned char>(va_arg(Args.List, unsigned));
      case LengthModifier::Short: return static_cast<unsigned short>(va_arg(Args.List, unsigned));
      case LengthModifier::Long: return va_arg(Args.List, unsigned long);
      case LengthModifier::LongLong: return va_arg(Args.List, unsigned long long);
      case LengthModifier::Size: return va_arg(Args.List, size_t);
      case LengthModifier::None: break;
    }
    return va_arg(Args.List, unsigned);
  }

  static long long FetchSigned(const FieldFormat &Field, ArgumentList &Args) {
    switch (Field.Length) {
      case LengthModifier::Char: return static_cast<signed char>(va_arg(Args.List, int));
      case LengthModifier::Short: return static_cast<short>(va_arg(Args.List, int));
      case LengthModifier::Long: return va_arg(Args.List, long);
      case LengthModifier::LongLong: return va_arg(Args.List, long long);
      case LengthModifier::Size: return static_cast<ptrdiff_t>(va_arg(Args.List, size_t));
      case LengthModifier::None: break;
    }
    return va_arg(Args.List, int);
  }

  void SignedInteger(const FieldFormat &Field, ArgumentList &Args) {
    long long Value = FetchSigned(Field, Args);
    // Negate in unsigned arithmetic so the most negative value survives.
    unsigned long long Magnitude =
        Value < 0 ? 0ULL - static_cast<unsigned long long>(Value) : static_cast<unsigned long long>(Value);
    char Sign = Value < 0 ? '-' : (Field.PlusSign ? '+' : (Field.SpaceSign ? ' ' : 0));
    char SignText[2] = {Sign, 0};
    UnsignedInteger(Field, Magnitude, 10, false, Sign != 0 ? SignText : nullptr);
  }

  // Prints Value in Base with an optional sign (or "0x" prefix) in front,
  // honouring width, precision (minimum digits) and the flags.
  void UnsignedInteger(const FieldFormat &Field, unsigned long long Value, unsigned Base, bool Upper,
                       const char *Prefix) {
    char Digits[24];
    size_t DigitCount = 0;
    const char *Alphabet = Upper ? "0123456789ABCDEF" : "0123456789abcdef";
    for (unsigned long long Rest = Value; Rest != 0; Rest /= Base) Digits[DigitCount++] = Alphabet[Rest % Base];
    // Precision 0 prints nothing for a zero value; otherwise zero is "0".
    if (Value == 0 && Field.Precision != 0) Digits[DigitCount++] = '0';

    if (Field.Alternate && Value != 0 && Base == 16) Prefix = Upper ? "0X" : "0x";
    size_t Minimum = Field.Precision > 0 ? static_cast<size_t>(Field.Precision) : 0;
    if (Field.Alternate && Base == 8 && Minimum <= DigitCount &&
        (DigitCount == 0 || Digits[DigitCount - 1] != '0')) {
      Minimum = DigitCount + 1;
    }
    size_t LeadingZeros = Minimum > DigitCount ? Minimum - DigitCount : 0;
    size_t PrefixLength = Prefix != nullptr ? strlen(Prefix) : 0;
    size_t Body = PrefixLength + LeadingZeros + DigitCount;
    size_t Padding = static_cast<size_t>(Field.Width) > Body ? static_cast<size_t>(Field.Width) - Body : 0;
    bool ZeroFill = Field.ZeroPad && !Field.LeftAlign && Field.Precision < 0;

    if (!Field.LeftAlign && !ZeroFill) Repeat(' ', Padding);
    for (size_t I = 0; I < PrefixLength; ++I) Put(static_cast<CharT>(Prefix[I]));
    if (ZeroFill) Repeat('0', Padding);
    Repeat('0', LeadingZeros);
    while (DigitCount > 0) Put(static_cast<CharT>(Digits[--DigitCount]));
    if (Field.LeftAlign) Repeat(' ', Padding);
  }

  void Pointer(const FieldFormat &Field, ArgumentList &Args) {
    const void *Value = va_arg(Args.List, const void *);
    if (Value == nullptr) {
      StringBody(Field, "(nil)");
      return;
    }
    UnsignedInteger(Field, reinterpret_cast<uintptr_t>(Value), 16, false, "0x");
  }

  void Character(const FieldFormat &Field, ArgumentList &Args) {
    // Into 8-bit output a character keeps its low 8 bits.
    auto Value = static_cast<CharT>(va_arg(Args.List, int));
    size_t Padding = Field.Width > 1 ? static_cast<size_t>(Field.Width) - 1 : 0;
    if (!Field.LeftAlign) Repeat(' ', Padding);
    Put(Value);
    if (Field.LeftAlign) Repeat(' ', Padding);
  }

  // As C's printf and wprintf alike: %ls is a CHAR16 string, %s and %hs
  // 8-bit ones, whatever the output's character type.
  void String(const FieldFormat &Field, ArgumentList &Args) {
    if (Field.Length == LengthModifier::Long) {
      StringBody(Field, va_arg(Args.List, const CHAR16 *));
    } else {
      StringBody(Field, va_arg(Args.List, const char *));
    }
  }

  template <class SourceT> void StringBody(const FieldFormat &Field, const SourceT *Text) {
    if (Text == nullptr) {
      // As glibc: "(null)" unless a precision would cut it.
      static const SourceT Null[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
      Text = Field.Precision < 0 || Field.Precision >= 6 ? Null : Null + 6;
    }
    // Never read past the precision: the text need not be terminated there.
    size_t Count = 0;
    while ((Field.Precision < 0 || Count < static_cast<size_t>(Field.Precision)) && Text[Count] != 0) ++Count;
    size_t Padding = static_cast<size_t>(Field.Width) > Count ? static_cast<size_t>(Field.Width) - Count : 0;
    if (!Field.LeftAlign) Repeat(' ', Padding);
    for (size_t I = 0; I < Count; ++I) Put(Narrow(Text[I]));
    if (Field.LeftAlign) Repeat(' ', Padding);
  }

  // Source units into the output type: a byte widens by its unsigned value,
  // a CHAR16 narrows to its low 8 bits.
  static CharT Narrow(char C) { return static_cast<CharT>(static_cast<unsigned char>(C)); }
  static CharT Narrow(CHAR16 C) { return static_cast<CharT>(C); }

  CharT *Dest;
  size_t Size;
  size_t Length = 0;
};

}  // namespace

template <class CharT> size_t FormatText(CharT *Dest, size_t Size, const CharT *Format, va_list Args) {
  if (Dest == nullptr) Size = 0;
  if (Format == nullptr) {
    if (Size > 0) Dest[0] = 0;
    return 0;
  }
  ArgumentList Copy;
  va_copy(Copy.List, Args);
  size_t Length = Formatter<CharT>(Dest, Size).Run(Format, Copy);
  va_end(Copy.List);
  return Length;
}

template size_t FormatText<char>(char *, size_t, const char *, va_list);
template size_t FormatText<CHAR16>(CHAR16 *, size_t, const CHAR16 *, va_list);

}  // namespace crt::detail

#include "messages/last_error_text.h"

#include "bioscfg_protocol.h"
#include "messages/messages_state.h"
#include "runtime/crt.h"

#include <stdarg.h>

namespace {

constexpr size_t MAX_TEXT_CHARS = LAST_ERROR_TEXT_CHARS - 1;

CHAR16 *CurrentBuffer() { return gMessages.ErrorText[gMessages.CurrentErrorText & 1]; }

// Appends to a buffer of LAST_ERROR_TEXT_CHARS characters, dropping what
// does not fit and keeping it NUL-terminated.
class TextSink {
 public:
  explicit TextSink(CHAR16 *Buffer) : Buffer(Buffer) { Buffer[0] = 0; }

  void Put(CHAR16 C) {
    if (Used >= MAX_TEXT_CHARS) return;
    Buffer[Used++] = C;
    Buffer[Used] = 0;
  }
  void PutNarrow(const char *Text) {
    if (Text == nullptr) Text = "(null)";
    const size_t Converted = crt::mbstowcs(Buffer + Used, Text, MAX_TEXT_CHARS - Used);
    if (Converted != static_cast<size_t>(-1)) Used += Converted;
    Buffer[Used] = 0;
  }
  void PutUnsigned(UINT32 Value) {
    CHAR16 Digits[10];
    int Count = 0;
    do {
      Digits[Count++] = static_cast<CHAR16>(u'0' + Value % 10);
      Value /= 10;
    } while (Value != 0);
    while (Count > 0) Put(Digits[--Count]);
  }
  void PutSigned(INT32 Value) {
    if (Value >= 0) return PutUnsigned(static_cast<UINT32>(Value));
    Put(u'-');
    // Negating in 32-bit unsigned arithmetic also covers INT32_MIN.
    PutUnsigned(0u - static_cast<UINT32>(Value));
  }

 private:
  CHAR16 *Buffer;
  size_t Used = 0;
};

// True when Format holds an 8-bit string conversion: '%', 'h' and one more
// character. Tokenises as the scan below does, so "%%hs" does not count.
bool HasNarrowStringConversion(const CHAR16 *Format) {
  for (const CHAR16 *P = Format; *P != 0; ++P) {
    if (*P != u'%') continue;
    if (P[1] == u'%') {
      ++P;
      continue;
    }
    if (P[1] == u'h' && P[2] != 0) return true;
  }
  return false;
}

void ExpandNarrowFormat(TextSink &Sink, const CHAR16 *Format, va_list Args) {
  for (const CHAR16 *P = Format; *P != 0; ++P) {
    if (*P != u'%') {
      Sink.Put(*P);
      continue;
    }
    const CHAR16 Next = P[1];
    if (Next == u'%') {
      Sink.Put(u'%');
      ++P;
    } else if (Next == u'd') {
      Sink.PutSigned(static_cast<INT32>(va_arg(Args, int)));
      ++P;
    } else if (Next == u'u') {
      Sink.PutUnsigned(static_cast<UINT32>(va_arg(Args, unsigned int)));
      ++P;
    } else if (Next == u'h' && P[2] != 0) {
      Sink.PutNarrow(va_arg(Args, const char *));
      P += 2;
    } else {
      // Not a conversion this scan knows (or "%h" at the very end): the
      // per-cent sign stays, the characters after it follow as plain text.
      Sink.Put(u'%');
    }
  }
}

// The argument kinds of FormatTakes, collected from a format; Valid is
// cleared by anything the driver could not pass safely.
class ArgumentList {
 public:
  explicit ArgumentList(const char *Expected) : Expected(Expected) {}
  void Take(char Kind) {
    if (Expected[Used] != Kind) Valid = false;
    if (Expected[Used] != 0) ++Used;
  }
  void Refuse() { Valid = false; }
  bool AllTaken() const { return Valid && Expected[Used] == 0; }

 private:
  const char *Expected;
  size_t Used = 0;
  bool Valid = true;
};

// What the 8-bit scan of ExpandNarrowFormat takes.
void ScanNarrowFormat(const CHAR16 *Format, ArgumentList &Arguments) {
  for (const CHAR16 *P = Format; *P != 0; ++P) {
    if (*P != u'%') continue;
    const CHAR16 Next = P[1];
    if (Next == u'%') {
      ++P;
    } else if (Next == u'd' || Next == u'u') {
      Arguments.Take('U');
      ++P;
    } else if (Next == u'h' && P[2] != 0) {
      Arguments.Take('N');
      P += 2;
    }
  }
}

// What the runtime's wide formatter takes (runtime/format.cpp).
void ScanWideFormat(const CHAR16 *Format, ArgumentList &Arguments) {
  for (const CHAR16 *P = Format; *P != 0;) {
    if (*P++ != u'%') continue;
    while (*P == u'-' || *P == u'0' || *P == u'+' || *P == u' ' || *P == u'#') ++P;
    while (*P >= u'0' && *P <= u'9') ++P;
    if (*P == u'.') ++P;
    while (*P >= u'0' && *P <= u'9') ++P;
    if (*P == u'*') return Arguments.Refuse();
    unsigned Longs = 0, Shorts = 0;
    for (; *P == u'l' || *P == u'h' || *P == u'z'; ++P) {
      if (*P == u'z') return Arguments.Refuse();
      (*P == u'l' ? Longs : Shorts) += 1;
    }
    const CHAR16 Conversion = *P;
    if (Conversion == 0) return;
    ++P;
    if (Conversion == u'%') continue;
    if (Conversion == u's') {
      if (Longs > 1 || (Longs == 1 && Shorts != 0)) return Arguments.Refuse();
      Arguments.Take(Longs == 1 ? 'W' : 'N');
    } else if (Conversion == u'd' || Conversion == u'i' || Conversion == u'u' || Conversion == u'x' ||
               Conversion == u'X' || Conversion == u'o' || Conversion == u'c') {
      if (Longs != 0) return Arguments.Refuse();
      Arguments.Take('U');
    } else if (Conversion == u'p') {
      return Arguments.Refuse();
    }
    // Anything else is shown as written and takes nothing.
  }
}

}  // namespace

bool FormatTakes(const CHAR16 *Format, const char *Arguments) {
  if (Format == nullptr || Arguments == nullptr) return false;
  ArgumentList Taken(Arguments);
  if (HasNarrowStringConversion(Format)) {
    ScanNarrowFormat(Format, Taken);
  } else {
    ScanWideFormat(Format, Taken);
  }
  return Taken.AllTaken();
}

CHAR16 *SetLastErrorText(const CHAR16 *Format, ...) {
  if (Format == nullptr) return nullptr;
  CHAR16 *Buffer = CurrentBuffer();
  TextSink Sink(Buffer);
  va_list Args;
  va_start(Args, Format);
  if (HasNarrowStringConversion(Format)) {
    ExpandNarrowFormat(Sink, Format, Args);
  } else {
    // The formatter keeps what fit when the text is too long; the cut below
    // makes that the first 511 characters.
    (void)crt::vswprintf(Buffer, LAST_ERROR_TEXT_CHARS, Format, Args);
  }
  va_end(Args);
  Buffer[MAX_TEXT_CHARS] = 0;
  return Buffer;
}

EFI_STATUS TakeLastErrorText(CHAR16 **ErrorText) {
  CHAR16 *HandedOut = CurrentBuffer();
  *ErrorText = HandedOut;
  gMessages.CurrentErrorText ^= 1;
  CurrentBuffer()[0] = 0;
  if (HandedOut[0] == 0) {
    *ErrorText = nullptr;
    return BCFG_E_INVALID_PARAMETER;
  }
  return EFI_SUCCESS;
}

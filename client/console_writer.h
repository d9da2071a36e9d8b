// Text output of the configuration tool.
//
// Everything the tool prints goes through one writer, which turns 8-bit
// text into CHAR16 for the console in small chunks, ends lines with CR LF
// as UEFI consoles expect, and writes firmware texts (prompts, option
// texts, error texts) with the same escapes everywhere: printable ASCII as
// it is, anything else as \uXXXX. A line may be any length: a numeric
// question can have tens of thousands of options.
#pragma once

#include "runtime/uefi.h"

class ConsoleWriter {
 public:
  explicit ConsoleWriter(SIMPLE_TEXT_OUTPUT_INTERFACE *Out) : Out(Out) {}
  ~ConsoleWriter() { Flush(); }
  ConsoleWriter(const ConsoleWriter &) = delete;
  ConsoleWriter &operator=(const ConsoleWriter &) = delete;

  ConsoleWriter &Text(const char *Ascii);
  ConsoleWriter &Unsigned(UINT64 Value);
  ConsoleWriter &Hex(UINT64 Value, UINT32 Digits);
  // A firmware text between double quotes, escaped; <none> for no text.
  // Texts may sit at odd addresses (they come from the packed HII export).
  ConsoleWriter &Quoted(const CHAR16 *Wide, UINT32 Length);
  ConsoleWriter &QuotedZ(const CHAR16 *Wide);
  // The same escapes without quotes.
  ConsoleWriter &Escaped(const CHAR16 *Wide, UINT32 Length);
  // 8-bit text (as INI files hold it) with the same escapes and quotes.
  ConsoleWriter &QuotedBytes(const char *Bytes, UINTN Length);
  // The same escapes without quotes.
  ConsoleWriter &EscapedBytes(const char *Bytes, UINTN Length);
  ConsoleWriter &EndLine();
  void Flush();

 private:
  void Put(CHAR16 Unit);

  static constexpr UINT32 CHUNK = 128;
  SIMPLE_TEXT_OUTPUT_INTERFACE *Out;
  CHAR16 Pending[CHUNK + 1] = {};
  UINT32 Used = 0;
};

// The number of units before a NUL of a text at any alignment.
[[nodiscard]] UINT32 WideLength(const CHAR16 *Wide);
// The unit at Index of a text at any alignment.
[[nodiscard]] CHAR16 WideUnit(const CHAR16 *Wide, UINT32 Index);

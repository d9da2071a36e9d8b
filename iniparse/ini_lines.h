// The line rules of an INI file.
//
//   [NAME]        a section heading: NAME is the text between '[' and the
//                 first ']', taken as it is; the rest of the line is ignored
//   name=value    a key: the name is the text before the first '=', the value
//                 the text after it up to the first ';' or the line's end;
//                 blanks (space, tab) around both are dropped
//   ; text        comments: lines whose first non-blank is ';' or '#'
//   # text
//
// Lines end with LF or CR LF. Blanks before a heading, a key or a comment
// are ignored. Any other line (no '=', a '[' without ']', an empty key
// name, a name longer than MAX_INI_NAME) is ignored too. A key name cannot
// hold '=', so a setup prompt containing '=' does not survive a save and a
// load; a value can hold '=' but not ';'.
#pragma once

#include "runtime/uefi.h"

namespace iniparse {

// Longest section or key name taken from a file or from a caller, in bytes.
constexpr UINT32 MAX_INI_NAME = 4096;

struct TextSpan {
  UINT32 Offset;
  UINT32 Length;
};

enum class IniLineKind : UINT8 { Ignored, Section, Key };

struct IniLine {
  IniLineKind Kind;
  TextSpan Name;   // the section's or the key's name
  TextSpan Value;  // keys only
};

// Where the first line starts: past a UTF-8 byte-order mark, if any.
UINT32 FirstLineOffset(const char *Text, UINT32 Length);

// Classifies the line of Text[0, Length) that starts at Offset and moves
// Offset to the start of the next line (to Length after the last line).
IniLine ReadIniLine(const char *Text, UINT32 Length, UINT32 &Offset);

// Start and length of Text[0, Length) without blanks at either end.
TextSpan TrimBlanks(const char *Text, UINT32 Start, UINT32 End);

}  // namespace iniparse

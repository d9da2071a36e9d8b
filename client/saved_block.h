// Reading back a [BIOS] block as SaveSettingsToIni writes it:
//
//   [BIOS::MAIN]
//   Quiet Boot=1                                          ;Options: 1=Enabled: 0=Disabled
//
// Only the last [BIOS] block of a text counts (every save appends one).
// A key line is split at its last ";Options", the part before it at its
// last '='; option texts that themselves hold ": " followed by a number
// cannot be told apart from the next option (the format has no escapes).
#pragma once

#include "runtime/uefi.h"

struct SavedSpan {
  const char *Text;
  UINTN Length;
};

struct SavedEntry {
  SavedSpan Section;  // without brackets
  SavedSpan Key;      // the prompt, leading blanks included
  INT32 Value;
  SavedSpan Options;  // after ";Options": ": 1=Enabled: 0=Disabled" or ": N/A"
};

struct SavedOption {
  INT32 Value;
  SavedSpan Text;  // Length 0 when the option has no text
};

class SavedBlock {
 public:
  // The last [BIOS] block of Text (Length bytes); no entries without one.
  SavedBlock(const char *Text, UINTN Length);
  [[nodiscard]] bool Next(SavedEntry &Out);

 private:
  const char *At;
  const char *End;
  SavedSpan Section{nullptr, 0};
};

// The options of an entry, one at a time, in the order the file lists them.
class SavedOptions {
 public:
  explicit SavedOptions(const SavedSpan &Options) : At(Options.Text), End(Options.Text + Options.Length) {}
  [[nodiscard]] bool Next(SavedOption &Out);

 private:
  const char *At;
  const char *End;
};

// atoi of a span: blanks, a sign, digits; 0 without digits.
[[nodiscard]] INT32 SpanNumber(const char *Text, const char *End);

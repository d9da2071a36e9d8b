// Walking a question's options.
//
// Every reader of options (the settings operations, the INI export and
// import, the host tool) goes through this cursor and never through the
// storage behind it (QuestionOptions), so the database is free to keep
// options compactly. The cursor yields them in the database's order: a
// one-of's options in the reverse of their IFR order, a checkbox's
// "Enabled" (1) then "Disabled" (0), a numeric question's values from the
// highest reached down to the minimum, each with its four-digit text.
#pragma once

#include "forms/numeric_texts.h"
#include "forms/setup_question.h"

// The number of values a numeric range allows: Minimum, Minimum + Step, ...
// up to Maximum, counted in 32 bits so that the last step cannot wrap.
inline UINT32 NumericOptionCount(UINT16 Minimum, UINT16 Maximum, UINT16 Step) {
  if (Step == 0 || Minimum > Maximum) return 0;
  return static_cast<UINT32>(Maximum - Minimum) / Step + 1;
}

class OptionCursor {
 public:
  explicit OptionCursor(const SetupQuestion &Question) : Options(Question.Options), Remaining(0), Position(0) {
    if (Options.Kind == QUESTION_OPTIONS_LIST) {
      Remaining = Options.Count;
    } else if (Options.Kind == QUESTION_OPTIONS_RANGE) {
      Remaining = NumericOptionCount(Options.Minimum, Options.Maximum, Options.Step);
      // The highest value the steps reach, which need not be Maximum.
      if (Remaining != 0) Position = Options.Minimum + (Remaining - 1) * Options.Step;
    }
  }

  // The next option into Out; false once every option has been given.
  [[nodiscard]] bool Next(OptionView &Out) {
    if (Remaining == 0) return false;
    --Remaining;
    if (Options.Kind == QUESTION_OPTIONS_LIST) {
      Out = Options.List[Position++];
      return true;
    }
    Out = OptionView{NumericText(Options.NumericTexts, Position), NUMERIC_TEXT_UNITS, Position};
    Position -= Options.Step;  // past the minimum only once nothing remains
    return true;
  }

 private:
  const QuestionOptions &Options;
  UINT32 Remaining;
  UINT32 Position;  // a list's next index, or a range's next value
};

// The value check of a change: a question without options accepts any
// value; otherwise one option must carry exactly Value (all 32 bits). For a
// range that is arithmetic, and the same answer the enumeration gives.
[[nodiscard]] inline bool QuestionAcceptsValue(const SetupQuestion &Question, UINT32 Value) {
  const QuestionOptions &Options = Question.Options;
  if (Options.Kind == QUESTION_OPTIONS_RANGE) {
    if (NumericOptionCount(Options.Minimum, Options.Maximum, Options.Step) == 0) return true;
    return Value >= Options.Minimum && Value <= Options.Maximum && (Value - Options.Minimum) % Options.Step == 0;
  }
  OptionCursor Cursor(Question);
  OptionView Option{};
  bool Any = false;
  while (Cursor.Next(Option)) {
    Any = true;
    if (Option.Value == Value) return true;
  }
  return !Any;
}

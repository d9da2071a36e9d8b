// Walking a question's options.
//
// Every reader of options (the settings operations, the INI export and
// import, the host tool) goes through this cursor and never through the
// storage behind it, so the database is free to keep options compactly.
// The cursor yields them in the database's order: a one-of's options in the
// reverse of their IFR order, a checkbox's "Enabled" (1) then "Disabled"
// (0), a numeric question's values from the highest reached down to the
// minimum. Texts stay valid while the database stays loaded; they may be
// unaligned (one-of texts point into the packed export).
#pragma once

#include "forms/setup_question.h"

struct OptionView {
  const CHAR16 *Text;  // nullptr when the option has no text
  UINT32 TextLength;
  UINT32 Value;
};

class OptionCursor {
 public:
  explicit OptionCursor(const SetupQuestion &Question) : Node(Question.Options) {}

  // The next option into Out; false once every option has been given.
  [[nodiscard]] bool Next(OptionView &Out) {
    if (Node == nullptr) return false;
    Out = OptionView{Node->Text, Node->TextLength, Node->Value};
    Node = Node->Next;
    return true;
  }

 private:
  const SetupOption *Node;
};

// Whether the question has at least one option.
[[nodiscard]] inline bool QuestionHasOptions(const SetupQuestion &Question) { return Question.Options != nullptr; }

// The value check of a change: a question without options accepts any
// value; otherwise one option must carry exactly Value (all 32 bits).
[[nodiscard]] inline bool QuestionAcceptsValue(const SetupQuestion &Question, UINT32 Value) {
  OptionCursor Cursor(Question);
  OptionView Option{};
  bool Any = false;
  while (Cursor.Next(Option)) {
    Any = true;
    if (Option.Value == Value) return true;
  }
  return !Any;
}

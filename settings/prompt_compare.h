// Comparing a client's setting name with a question's prompt.
//
// Names match whatever the case of their letters A-Z, while every other
// character must match exactly. Each character counts by its low 8 bits (the
// C locale's narrowing of a wide string), so a character whose low byte is 0
// ends the name there. Prompts point into the packed HII export and client
// names into client memory: both are read a byte pair at a time, never as
// aligned CHAR16.
#pragma once

#include "forms/setup_question.h"
#include "runtime/uefi.h"

// 0 when the two NUL-terminated names are equal, otherwise the difference
// of the first pair of folded bytes that differ.
[[nodiscard]] int PromptsEqual(const CHAR16 *A, const CHAR16 *B);

// A question's prompt as the operations compare it: its first PromptLength
// characters (the copy of the prompt that the comparison works on).
struct PromptText {
  const CHAR16 *Text;
  UINT32 Length;
};
inline PromptText PromptOf(const SetupQuestion &Question) {
  return PromptText{Question.PromptText, Question.PromptText == nullptr ? 0u : Question.PromptLength};
}

// PromptsEqual of a client's name and a question's prompt, without copying
// either.
[[nodiscard]] bool NameMatchesPrompt(const CHAR16 *Name, const PromptText &Prompt);

// A hash of the folded name, equal for names that PromptsEqual calls equal.
[[nodiscard]] UINT32 FoldedNameHash(const CHAR16 *Name);
[[nodiscard]] UINT32 FoldedPromptHash(const PromptText &Prompt);

// Whether the prompt begins with exactly these characters (case included).
[[nodiscard]] bool PromptStartsWith(const PromptText &Prompt, const char16_t *Start, UINT32 StartLength);

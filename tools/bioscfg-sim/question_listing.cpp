#include "tools/bioscfg-sim/question_listing.h"

#include "forms/option_cursor.h"
#include "tools/hiibuild/byte_writer.h"

#include <cstdio>

namespace bioscfgsim {

// Texts point into the packed export, so they may sit at odd addresses.
static std::string Quoted(const CHAR16 *Text, size_t Length) {
  if (Text == nullptr) return "<none>";
  std::string Out = "\"";
  for (char16_t C : hiibuild::ReadWide(Text, Length)) {
    if (C >= 0x20 && C < 0x7F && C != '"' && C != '\\') {
      Out.push_back(static_cast<char>(C));
      continue;
    }
    char Escape[8];
    std::snprintf(Escape, sizeof Escape, "\\u%04X", static_cast<unsigned>(C));
    Out += Escape;
  }
  return Out + "\"";
}

static const char *KindName(UINT8 OpCode) {
  switch (OpCode) {
    case IFR_FORM_OP: return "form";
    case IFR_ONE_OF_OP: return "one-of";
    case IFR_CHECKBOX_OP: return "checkbox";
    case IFR_NUMERIC_OP: return "numeric";
    default: return "opcode";
  }
}

std::string FormatQuestion(const SetupQuestion &Q, uint16_t FormId) {
  char Head[96];
  std::snprintf(Head, sizeof Head, "%-8s op=0x%02X flags=0x%X form=%u prompt=", KindName(Q.OpCode), Q.OpCode,
                static_cast<unsigned>(Q.Flags), static_cast<unsigned>(FormId));
  std::string Line = Head + Quoted(Q.PromptText, Q.PromptLength);
  if (Q.OpCode == IFR_FORM_OP) return Line;

  const size_t NameLength = Q.VariableName != nullptr ? hiibuild::ReadWideZ(Q.VariableName).size() : 0;
  Line += " var=" + Quoted(Q.VariableName, NameLength);
  Line += " " + (Q.VariableGuid != nullptr ? hiibuild::GuidToString(hiibuild::ReadGuid(Q.VariableGuid)) : std::string("<none>"));
  char Value[80];
  std::snprintf(Value, sizeof Value, " offset=0x%04X width=%u value=%u options=", static_cast<unsigned>(Q.Offset),
                static_cast<unsigned>(Q.Width), static_cast<unsigned>(Q.Value));
  Line += Value;
  bool First = true;
  OptionCursor Cursor(Q);
  OptionView O{};
  while (Cursor.Next(O)) {
    if (!First) Line += ",";
    First = false;
    Line += std::to_string(O.Value) + "=" + Quoted(O.Text, O.TextLength);
  }
  if (First) Line += "-";
  return Line;
}

std::string FormatQuestionList(const SetupQuestion *Head) {
  std::string Text;
  uint16_t FormId = 0;
  for (const SetupQuestion *Q = Head; Q != nullptr; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP) FormId = Q->FormId;
    Text += FormatQuestion(*Q, FormId) + "\n";
  }
  return Text;
}

}  // namespace bioscfgsim

#include "client/diff_report.h"

namespace {

UINTN Length(const char *Text) {
  UINTN Count = 0;
  while (Text != nullptr && Text[Count] != '\0') ++Count;
  return Count;
}

void PrintValue(ConsoleWriter &Out, const DiffValue &Value) {
  // Values are written back as the INI file holds them: signed 32-bit.
  const auto Signed = static_cast<INT32>(Value.Value);
  if (Signed < 0) {
    Out.Text("-").Unsigned(static_cast<UINT64>(-static_cast<INT64>(Signed)));
  } else {
    Out.Unsigned(Value.Value);
  }
  if (Value.Text != nullptr) Out.Text(" ").QuotedBytes(Value.Text, Value.TextLength);
}

const char *Label(DiffKind Kind) {
  switch (Kind) {
    case DiffKind::AfterReload: return "after-reload: ";
    case DiffKind::OutOfRange: return "refuse: ";
    default: return "change: ";
  }
}

}  // namespace

void PrintDiffLine(ConsoleWriter &Out, const DiffLine &Line) {
  Out.Text(Label(Line.Kind)).Text("[").Text(Line.Section).Text("] ");
  Out.QuotedBytes(Line.Key, Length(Line.Key)).Text(" ");
  PrintValue(Out, Line.Current);
  Out.Text(" -> ");
  if (Line.Kind == DiffKind::OutOfRange) {
    PrintValue(Out, DiffValue{Line.New.Value, nullptr, 0});
    Out.Text(" (not an option: the load would stop here)");
  } else {
    PrintValue(Out, Line.New);
  }
  if (Line.Kind == DiffKind::ReshapingChange) {
    Out.Text(" (reshapes the forms: they are read again and the file applied a second time)");
  }
  Out.EndLine();
}

void PrintSerialConflict(ConsoleWriter &Out) {
  Out.Text("conflict: serial ports A and B share an address or an IRQ: the load would refuse the file").EndLine();
}

void PrintDiffCount(ConsoleWriter &Out, UINTN Changes) { Out.Text("changes: ").Unsigned(Changes).EndLine(); }

#include "client/step_log.h"

#include "runtime/crt.h"

struct StepLog::Entry {
  BIOS_CONFIG_STEP Step;  // its texts point at the copies below
  char *Section;
  char *Key;
  char *ValueText;
  CHAR16 *FormTitle;
  CHAR16 *Prompt;
  CHAR16 *OldText;
  CHAR16 *NewText;
};

namespace {

char *CopyBytes(const CHAR8 *Text, bool &Lost) {
  if (Text == nullptr) return nullptr;
  const UINTN Length = crt::strlen(reinterpret_cast<const char *>(Text));
  auto *Copy = static_cast<char *>(crt::malloc(Length + 1));
  if (Copy == nullptr) {
    Lost = true;
    return nullptr;
  }
  crt::memcpy(Copy, Text, Length + 1);
  return Copy;
}

CHAR16 *CopyWide(const CHAR16 *Text, bool &Lost) {
  if (Text == nullptr) return nullptr;
  const UINTN Length = WideLength(Text);
  auto *Copy = static_cast<CHAR16 *>(crt::malloc((Length + 1) * sizeof(CHAR16)));
  if (Copy == nullptr) {
    Lost = true;
    return nullptr;
  }
  for (UINTN Index = 0; Index <= Length; ++Index) Copy[Index] = WideUnit(Text, static_cast<UINT32>(Index));
  return Copy;
}

// A value as the INI file holds it: signed 32-bit.
void PrintNumber(ConsoleWriter &Out, UINT32 Value) {
  const auto Signed = static_cast<INT32>(Value);
  if (Signed < 0) {
    Out.Text("-").Unsigned(static_cast<UINT64>(-static_cast<INT64>(Signed)));
  } else {
    Out.Unsigned(Value);
  }
}

void PrintValue(ConsoleWriter &Out, UINT32 Value, const CHAR16 *Text) {
  PrintNumber(Out, Value);
  if (Text != nullptr) Out.Text(" ").QuotedZ(Text);
}

const char *Label(const BIOS_CONFIG_STEP &Step) {
  if (Step.Kind == BIOS_CONFIG_STEP_REFUSE) return "refuse: ";
  if (Step.Kind == BIOS_CONFIG_STEP_FAIL) return "fail: ";
  return Step.Pass == 2 ? "after-reload: " : "change: ";
}

}  // namespace

StepLog::~StepLog() {
  for (UINTN Index = 0; Index < Count; ++Index) {
    Entry &E = Entries[Index];
    crt::free(E.Section);
    crt::free(E.Key);
    crt::free(E.ValueText);
    crt::free(E.FormTitle);
    crt::free(E.Prompt);
    crt::free(E.OldText);
    crt::free(E.NewText);
  }
  crt::free(Entries);
}

BIOS_CONFIG_RUN StepLog::Run(bool Plan) {
  BIOS_CONFIG_RUN Run{};
  Run.Flags = Plan ? BIOS_CONFIG_RUN_PLAN : 0;
  Run.Step = Keep;
  Run.Context = this;
  return Run;
}

void BIOSCFG_EFIAPI StepLog::Keep(VOID *Self, CONST BIOS_CONFIG_STEP *Step) {
  static_cast<StepLog *>(Self)->Add(*Step);
}

void StepLog::Add(const BIOS_CONFIG_STEP &Step) {
  if (Count == Capacity) {
    const UINTN Grown = Capacity == 0 ? 16 : 2 * Capacity;
    auto *Larger = static_cast<Entry *>(crt::realloc(Entries, Grown * sizeof(Entry)));
    if (Larger == nullptr) {
      Lost = true;
      return;
    }
    Entries = Larger;
    Capacity = Grown;
  }
  Entry &E = Entries[Count++];
  E.Step = Step;
  E.Section = CopyBytes(Step.Section, Lost);
  E.Key = CopyBytes(Step.Key, Lost);
  E.ValueText = CopyBytes(Step.ValueText, Lost);
  E.FormTitle = CopyWide(Step.FormTitle, Lost);
  E.Prompt = CopyWide(Step.Prompt, Lost);
  E.OldText = CopyWide(Step.OldText, Lost);
  E.NewText = CopyWide(Step.NewText, Lost);
}

UINTN StepLog::Changes() const {
  UINTN Changes = 0;
  for (UINTN Index = 0; Index < Count; ++Index) {
    const BIOS_CONFIG_STEP &Step = Entries[Index].Step;
    if (Step.Kind == BIOS_CONFIG_STEP_CHANGE && (Step.Flags & BIOS_CONFIG_STEP_NOT_STORED) == 0) ++Changes;
  }
  return Changes;
}

void StepLog::PrintEntry(ConsoleWriter &Out, const Entry &E) const {
  const BIOS_CONFIG_STEP &Step = E.Step;
  Out.Text(Label(Step)).Text("[");
  if (E.Section != nullptr) {
    Out.Text(E.Section);
  } else if (E.FormTitle != nullptr) {
    Out.Escaped(E.FormTitle, WideLength(E.FormTitle));
  }
  Out.Text("] ");
  if (E.Key != nullptr) {
    Out.QuotedBytes(E.Key, crt::strlen(E.Key));
  } else {
    Out.QuotedZ(E.Prompt);
  }
  Out.Text(" ");
  PrintValue(Out, Step.OldValue, E.OldText);
  Out.Text(" -> ");
  if (Step.Kind == BIOS_CONFIG_STEP_CHANGE) {
    PrintValue(Out, Step.NewValue, (Step.Flags & BIOS_CONFIG_STEP_MASKED) != 0 ? nullptr : E.NewText);
    if ((Step.Flags & BIOS_CONFIG_STEP_RESHAPES) != 0) {
      Out.Text(" (reshapes the forms: they are read again and the rest applied a second time)");
    }
    if ((Step.Flags & BIOS_CONFIG_STEP_MASKED) != 0) {
      Out.Text(" (stored as ").Unsigned(Step.StoredValue).Text(": the question holds ").Unsigned(Step.Width);
      Out.Text(Step.Width == 1 ? " byte)" : " bytes)");
    }
    if ((Step.Flags & BIOS_CONFIG_STEP_NOT_STORED) != 0) Out.Text(" (not stored: the variable's write failed)");
  } else if ((Step.Flags & BIOS_CONFIG_STEP_TOO_WIDE) != 0 && E.ValueText != nullptr) {
    Out.Text(E.ValueText).Text(" (does not fit 32 bits: the run stops here)");
  } else if (Step.Kind == BIOS_CONFIG_STEP_REFUSE) {
    PrintNumber(Out, Step.NewValue);
    Out.Text(" (not an option: the run stops here)");
  } else {
    PrintNumber(Out, Step.NewValue);
    Out.Text(" (the variable cannot be read or written: the run stops here)");
  }
  Out.EndLine();
}

void StepLog::Print(ConsoleWriter &Out) const {
  for (UINTN Index = 0; Index < Count; ++Index) PrintEntry(Out, Entries[Index]);
  if (Lost) Out.Text("error: out of memory: some steps are not shown").EndLine();
  Out.Text("changes: ").Unsigned(Changes()).EndLine();
}

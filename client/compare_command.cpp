// compare A B: which settings two saved files give differently, by section
// and key, with both values and their option texts:
//
//   result: SETTINGS_DIFFER
//   differ: [BIOS::MAIN] "Quiet Boot" 1 "Enabled" | 0 "Disabled"
//   only-first: [BIOS::USB CONFIGURATION] "Legacy USB Support" 0 "Enabled"
//   differences: 2
//
// Each file is read as the parser reads it: the last [BIOS] block, a later
// section of the same name replacing an earlier one, keys without their
// leading blanks. The result is EFI_SUCCESS when the two hold the same
// settings.
#include "client/ini_files.h"
#include "client/record_report.h"
#include "client/saved_block.h"
#include "client/status_names.h"
#include "client/tool_commands.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;

namespace {

struct Setting {
  SavedSpan Section;
  SavedSpan Key;
  INT32 Value;
  SavedSpan Options;
  UINTN Order;  // position in the file: of two of one name, the later counts
};

int CompareSpans(const SavedSpan &A, const SavedSpan &B, bool IgnoreCase) {
  const UINTN Shorter = A.Length < B.Length ? A.Length : B.Length;
  for (UINTN Index = 0; Index < Shorter; ++Index) {
    UINT8 X = static_cast<UINT8>(A.Text[Index]);
    UINT8 Y = static_cast<UINT8>(B.Text[Index]);
    if (IgnoreCase) {
      X = static_cast<UINT8>(crt::tolower(X));
      Y = static_cast<UINT8>(crt::tolower(Y));
    }
    if (X != Y) return X < Y ? -1 : 1;
  }
  return A.Length == B.Length ? 0 : (A.Length < B.Length ? -1 : 1);
}

// Sections and keys compare as the parser compares them: ignoring ASCII case.
int CompareNames(const Setting &A, const Setting &B) {
  const int Section = CompareSpans(A.Section, B.Section, true);
  return Section != 0 ? Section : CompareSpans(A.Key, B.Key, true);
}

class Settings {
 public:
  ~Settings() { crt::free(List); }
  [[nodiscard]] bool Read(const char *Text, UINTN Length) {
    SavedBlock Block(Text, Length);
    SavedEntry Entry{};
    const char *Current = nullptr;  // the section the last entry came from
    while (Block.Next(Entry)) {
      // A section met again replaces the earlier one whole, as the parser
      // reads it.
      if (Entry.Section.Text != Current) {
        Current = Entry.Section.Text;
        DropSection(Entry.Section);
      }
      SavedSpan Key = Entry.Key;
      while (Key.Length > 0 && Key.Text[0] == ' ') {
        ++Key.Text;
        --Key.Length;
      }
      if (!Add(Setting{Entry.Section, Key, Entry.Value, Entry.Options, Count})) return false;
    }
    return Sort();
  }
  UINTN Size() const { return Count; }
  const Setting &At(UINTN Index) const { return List[Index]; }

 private:
  void DropSection(const SavedSpan &Section) {
    UINTN Kept = 0;
    for (UINTN Index = 0; Index < Count; ++Index) {
      if (CompareSpans(List[Index].Section, Section, true) != 0) List[Kept++] = List[Index];
    }
    Count = Kept;
  }
  [[nodiscard]] bool Add(const Setting &S) {
    if (Count == Capacity) {
      const UINTN Grown = Capacity == 0 ? 64 : 2 * Capacity;
      auto *Larger = static_cast<Setting *>(crt::realloc(List, Grown * sizeof(Setting)));
      if (Larger == nullptr) return false;
      List = Larger;
      Capacity = Grown;
    }
    List[Count++] = S;
    return true;
  }
  // A stable merge sort by name, then the later of each name kept alone.
  [[nodiscard]] bool Sort() {
    crt::HeapPtr<Setting> Spare(static_cast<Setting *>(crt::malloc((Count == 0 ? 1 : Count) * sizeof(Setting))));
    if (!Spare) return false;
    for (UINTN Width = 1; Width < Count; Width *= 2) {
      for (UINTN Left = 0; Left < Count; Left += 2 * Width) {
        const UINTN Middle = Left + Width < Count ? Left + Width : Count;
        const UINTN Right = Left + 2 * Width < Count ? Left + 2 * Width : Count;
        UINTN A = Left, B = Middle, Out = Left;
        while (A < Middle && B < Right) Spare.Get()[Out++] = CompareNames(List[B], List[A]) < 0 ? List[B++] : List[A++];
        while (A < Middle) Spare.Get()[Out++] = List[A++];
        while (B < Right) Spare.Get()[Out++] = List[B++];
      }
      crt::memcpy(List, Spare.Get(), Count * sizeof(Setting));
    }
    UINTN Kept = 0;
    for (UINTN Index = 0; Index < Count; ++Index) {
      if (Kept > 0 && CompareNames(List[Kept - 1], List[Index]) == 0) {
        List[Kept - 1] = List[Index];  // sorted stably: the later one
      } else {
        List[Kept++] = List[Index];
      }
    }
    Count = Kept;
    return true;
  }

  Setting *List = nullptr;
  UINTN Count = 0;
  UINTN Capacity = 0;
};

void PrintValue(ConsoleWriter &Out, const Setting &S) {
  if (S.Value < 0) {
    Out.Text("-").Unsigned(static_cast<UINT64>(-static_cast<INT64>(S.Value)));
  } else {
    Out.Unsigned(static_cast<UINT64>(S.Value));
  }
  SavedOptions Options(S.Options);
  for (SavedOption Option{}; Options.Next(Option);) {
    if (Option.Value == S.Value && Option.Text.Length != 0) {
      Out.Text(" ").QuotedBytes(Option.Text.Text, Option.Text.Length);
      return;
    }
  }
}

void PrintName(ConsoleWriter &Out, const char *Label, const Setting &S) {
  Out.Text(Label).Text("[").EscapedBytes(S.Section.Text, S.Section.Length).Text("] ");
  Out.QuotedBytes(S.Key.Text, S.Key.Length).Text(" ");
}

[[nodiscard]] bool ReadOperand(const CHAR16 *Operand, crt::HeapPtr<char> &Text, UINTN &Length) {
  char Name[INI_FILE_PATH_BUFFER_SIZE];
  UINTN Used = 0;
  for (; Operand[Used] != 0; ++Used) {
    if (Used + 1 >= sizeof Name || Operand[Used] > 0x7E || Operand[Used] < 0x20) return false;
    Name[Used] = static_cast<char>(Operand[Used]);
  }
  Name[Used] = '\0';
  return ReadIniFile(Name, Text, Length);
}

}  // namespace

EFI_STATUS RunCompare(ToolContext &C) {
  if (C.Args.OperandCount != 2) {
    PrintResult(C.Out, EFI_INVALID_PARAMETER);
    PrintToolError(C.Out, "compare takes two files", nullptr, "");
    return EFI_INVALID_PARAMETER;
  }
  crt::HeapPtr<char> TextA, TextB;
  UINTN LengthA = 0, LengthB = 0;
  for (UINTN Index = 0; Index < 2; ++Index) {
    if (ReadOperand(C.Args.Operands[Index], Index == 0 ? TextA : TextB, Index == 0 ? LengthA : LengthB)) continue;
    PrintResult(C.Out, EFI_NOT_FOUND);
    PrintToolError(C.Out, "cannot read ", C.Args.Operands[Index], " in the TORVEL_PATH folder");
    return EFI_NOT_FOUND;
  }
  Settings A, B;
  if (!A.Read(TextA.Get(), LengthA) || !B.Read(TextB.Get(), LengthB)) {
    PrintResult(C.Out, EFI_OUT_OF_RESOURCES);
    return EFI_OUT_OF_RESOURCES;
  }
  // Both sorted by name: one walk finds every difference, in that order.
  UINTN Differences = 0;
  for (UINTN Pass = 0; Pass < 2; ++Pass) {
    if (Pass == 1) PrintResult(C.Out, Differences == 0 ? EFI_SUCCESS : TOOL_SETTINGS_DIFFER);
    UINTN X = 0, Y = 0, Found = 0;
    while (X < A.Size() || Y < B.Size()) {
      const int Order = X == A.Size() ? 1 : Y == B.Size() ? -1 : CompareNames(A.At(X), B.At(Y));
      if (Order == 0 && A.At(X).Value == B.At(Y).Value) {
        ++X, ++Y;
        continue;
      }
      ++Found;
      if (Pass == 1 && Order == 0) {
        PrintName(C.Out, "differ: ", A.At(X));
        PrintValue(C.Out, A.At(X));
        C.Out.Text(" | ");
        PrintValue(C.Out, B.At(Y));
        C.Out.EndLine();
      } else if (Pass == 1) {
        const Setting &Alone = Order < 0 ? A.At(X) : B.At(Y);
        PrintName(C.Out, Order < 0 ? "only-first: " : "only-second: ", Alone);
        PrintValue(C.Out, Alone);
        C.Out.EndLine();
      }
      if (Order <= 0) ++X;
      if (Order >= 0) ++Y;
    }
    Differences = Found;
  }
  C.Out.Text("differences: ").Unsigned(Differences).EndLine();
  return Differences == 0 ? EFI_SUCCESS : TOOL_SETTINGS_DIFFER;
}

// libFuzzer target: SetSettings and SetFormSettings over any export and
// any variable contents (the input's layout: fuzz/export_input.h; its last
// bytes before the variables also pick the values written).
//
// The forms are loaded from the input; the change records are built from
// the questions' own prompts, with values taken from the input, many of
// them options of the question so that writes get past the value check.
// SetSettings gets the questions whose prompts are unique and whose bytes
// overlap no other chosen question's; afterwards every record it applied
// must be what its question's bytes hold, and no other byte may have
// changed. SetFormSettings then runs along the first form; afterwards every
// variable must have kept its size and attributes, and every changed byte
// must lie inside a question's value. Nothing may stay allocated. The
// input's first byte picks how the two run: one write per question,
// combined writes, or as plans, which may write nothing and must foretell,
// record by record, what the same call then does for real.
#include "driver/change_runs.h"
#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "fuzz/export_input.h"
#include "fuzz/fuzz_platform.h"
#include "runtime/crt.h"
#include "settings/reload_flags.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr size_t MAX_RECORDS = 48;

std::u16string PromptOf(const SetupQuestion &Q) { return fuzz::WideText(Q.PromptText, Q.PromptLength); }

// Whether byte Offset of the variable (Name, Guid) lies inside the value of
// a question that names that variable.
bool InsideAQuestion(const SetupQuestion *Questions, const std::u16string &Name, const EFI_GUID &Guid, size_t Offset) {
  for (const SetupQuestion *Q = Questions; Q != nullptr; Q = Q->Next) {
    if (Q->Width != 1 && Q->Width != 2 && Q->Width != 4) continue;
    if (Offset < Q->Offset || Offset >= static_cast<size_t>(Q->Offset) + Q->Width) continue;
    if (Q->VariableGuid == nullptr || std::memcmp(Q->VariableGuid, &Guid, sizeof(Guid)) != 0) continue;
    if (fuzz::WideText(Q->VariableName) == Name) return true;
  }
  return false;
}

// The records of one call: names that stay put, values from Picks.
struct Records {
  std::deque<std::u16string> Names;
  std::vector<BIOS_SETTING_VALUE> List;

  void Add(const std::u16string &Name, UINT32 Value) {
    Names.push_back(Name);
    BIOS_SETTING_VALUE R{};
    R.Name = reinterpret_cast<CHAR16 *>(Names.back().data());
    R.Value = Value;
    List.push_back(R);
  }
  BIOS_SETTING_VALUE *Link() {
    for (size_t I = 0; I + 1 < List.size(); ++I) List[I].Next = &List[I + 1];
    return List.empty() ? nullptr : List.data();
  }
};

// A value for question Q from the next pick byte: often one of its
// options (so the write goes through), else a raw number.
UINT32 PickValue(const SetupQuestion &Q, uint8_t Pick) {
  if ((Pick & 0x80) != 0) return Pick * 0x01010101u;
  OptionCursor Cursor(Q);
  OptionView Option{};
  UINT32 Chosen = Pick;
  for (unsigned Skip = Pick & 0x0F; Cursor.Next(Option); --Skip) {
    Chosen = Option.Value;
    if (Skip == 0) break;
  }
  return Chosen;
}

}  // namespace

namespace {

std::u16string Folded(const std::u16string &Prompt) {
  std::u16string Out;
  for (char16_t C : Prompt) {
    const char16_t Low = C & 0xFF;
    if (Low == 0) break;
    Out.push_back(Low >= 'A' && Low <= 'Z' ? static_cast<char16_t>(Low + 32) : Low);
  }
  return Out;
}

bool SameVariable(const SetupQuestion &A, const SetupQuestion &B) {
  return A.VariableGuid != nullptr && B.VariableGuid != nullptr &&
         std::memcmp(A.VariableGuid, B.VariableGuid, sizeof(EFI_GUID)) == 0 && fuzz::WideText(A.VariableName) == fuzz::WideText(B.VariableName);
}

bool Overlap(const SetupQuestion &A, const SetupQuestion &B) {
  return SameVariable(A, B) && A.Offset < B.Offset + B.Width && B.Offset < A.Offset + A.Width;
}

// Questions SetSettings can be checked on exactly: a value width, a prompt
// no other question shares, bytes no other chosen question touches.
std::vector<const SetupQuestion *> Checkable(const SetupQuestion *Questions) {
  std::map<std::u16string, int> Uses;
  for (const SetupQuestion *Q = Questions; Q != nullptr; Q = Q->Next) {
    if (Q->OpCode != IFR_FORM_OP) ++Uses[Folded(PromptOf(*Q))];
  }
  std::vector<const SetupQuestion *> Chosen;
  for (const SetupQuestion *Q = Questions; Q != nullptr && Chosen.size() < MAX_RECORDS; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP || Q->PromptLength == 0 || (Q->Width != 1 && Q->Width != 2 && Q->Width != 4)) continue;
    bool Clash = Uses[Folded(PromptOf(*Q))] != 1;
    for (const SetupQuestion *Taken : Chosen) Clash = Clash || Overlap(*Taken, *Q);
    if (!Clash) Chosen.push_back(Q);
  }
  return Chosen;
}

uint32_t Held(const sim::VariableRecord &V, const SetupQuestion &Q) {
  uint32_t Value = 0;
  for (UINT16 B = 0; B < Q.Width; ++B) Value |= static_cast<uint32_t>(V.Data.at(Q.Offset + B)) << (8 * B);
  return Value;
}

const sim::VariableRecord *VariableOf(const std::vector<sim::VariableRecord> &All, const SetupQuestion &Q) {
  for (const sim::VariableRecord &V : All) {
    if (Q.VariableGuid != nullptr && std::memcmp(Q.VariableGuid, &V.Guid, sizeof(EFI_GUID)) == 0 &&
        fuzz::WideText(Q.VariableName) == V.Name) {
      return &V;
    }
  }
  return nullptr;
}

void ExpectSizesKept(const std::vector<sim::VariableRecord> &Before, const std::vector<sim::VariableRecord> &After) {
  if (After.size() != Before.size()) std::abort();
  for (size_t V = 0; V < After.size(); ++V) {
    if (After[V].Name != Before[V].Name || After[V].Data.size() != Before[V].Data.size() ||
        After[V].Attributes != Before[V].Attributes) {
      std::abort();
    }
  }
}

// Byte 0: bit 0 combined writes, bit 1 a plan.
BIOS_CONFIG_RUN RunOf(const uint8_t *Data) {
  BIOS_CONFIG_RUN Run{};
  Run.Flags = (Data[0] & 2) != 0 ? BIOS_CONFIG_RUN_PLAN : 0;
  return Run;
}

// A plan must write nothing, and the same records run for real right
// after it must come back with the plan's statuses, record by record; the
// checks that follow then look at what the real run wrote.
template <typename RealRun>
void ExpectPlanHolds(sim::Firmware &Fw, const std::vector<sim::VariableRecord> &Before, Records &R, EFI_STATUS Planned,
                     RealRun Real) {
  const std::vector<sim::VariableRecord> AfterPlan = Fw.Variables();
  if (AfterPlan.size() != Before.size()) std::abort();
  for (size_t V = 0; V < AfterPlan.size(); ++V) {
    if (AfterPlan[V].Data != Before[V].Data) std::abort();  // a plan wrote
  }
  std::vector<UINT32> PlannedStatus;
  for (BIOS_SETTING_VALUE &Record : R.List) {
    PlannedStatus.push_back(Record.Status);
    Record.Status = 0;
  }
  if (Real() != Planned) std::abort();  // the plan told a different outcome
  for (size_t I = 0; I < R.List.size(); ++I) {
    if (R.List[I].Status != PlannedStatus[I]) std::abort();
  }
}

void CheckSetSettings(sim::Firmware &Fw, SettingsEngine &Engine, const uint8_t *Data, size_t Size) {
  const std::vector<const SetupQuestion *> Chosen = Checkable(Engine.Forms.Questions);
  Records R;
  for (size_t I = 0; I < Chosen.size(); ++I) R.Add(PromptOf(*Chosen[I]), PickValue(*Chosen[I], Data[(I * 7) % Size]));
  const std::vector<sim::VariableRecord> Before = Fw.Variables();
  Engine.AllQuestionsMode = 1;
  const BIOS_CONFIG_RUN Run = RunOf(Data);
  const EFI_STATUS Planned = RunChange(Engine, SetSettingsRun(R.Link(), &Run));
  if (Run.Flags & BIOS_CONFIG_RUN_PLAN) ExpectPlanHolds(Fw, Before, R, Planned, [&] {
    const BIOS_CONFIG_RUN Real{};
    return RunChange(Engine, SetSettingsRun(R.Link(), &Real));
  });
  const std::vector<sim::VariableRecord> After = Fw.Variables();
  ExpectSizesKept(Before, After);
  for (size_t V = 0; V < After.size(); ++V) {
    for (size_t Byte = 0; Byte < After[V].Data.size(); ++Byte) {
      if (After[V].Data[Byte] == Before[V].Data[Byte]) continue;
      bool Written = false;
      for (size_t I = 0; I < Chosen.size() && !Written; ++I) {
        const SetupQuestion &Q = *Chosen[I];
        Written = R.List[I].Status == 1 && VariableOf(After, Q) == &After[V] && Byte >= Q.Offset &&
                  Byte < static_cast<size_t>(Q.Offset) + Q.Width;
      }
      if (!Written) std::abort();  // a byte no applied record owns
    }
  }
  for (size_t I = 0; I < Chosen.size(); ++I) {
    if (R.List[I].Status != 1) continue;
    const sim::VariableRecord *V = VariableOf(After, *Chosen[I]);
    if (V == nullptr) std::abort();
    const uint32_t Mask = Chosen[I]->Width == 4 ? 0xFFFFFFFFu : (1u << (8 * Chosen[I]->Width)) - 1;
    if (Held(*V, *Chosen[I]) != (R.List[I].Value & Mask)) std::abort();  // applied, but not what is stored
  }
}

void CheckSetFormSettings(sim::Firmware &Fw, SettingsEngine &Engine, const uint8_t *Data, size_t Size) {
  Records Form;
  size_t Pick = 0;
  for (const SetupQuestion *Q = Engine.Forms.Questions; Q != nullptr && Form.List.size() < MAX_RECORDS; Q = Q->Next) {
    if (Q->OpCode == IFR_FORM_OP) {
      if (!Form.List.empty()) break;
      Form.Add(PromptOf(*Q), 0);
      continue;
    }
    if (!Form.List.empty()) Form.Add(PromptOf(*Q), PickValue(*Q, Data[(Pick++ * 5 + 3) % Size]));
  }
  const std::vector<sim::VariableRecord> Before = Fw.Variables();
  const BIOS_CONFIG_RUN Run = RunOf(Data);
  const EFI_STATUS Planned = RunChange(Engine, SetFormSettingsRun(Form.Link(), &Run));
  if (Run.Flags & BIOS_CONFIG_RUN_PLAN) ExpectPlanHolds(Fw, Before, Form, Planned, [&] {
    const BIOS_CONFIG_RUN Real{};
    return RunChange(Engine, SetFormSettingsRun(Form.Link(), &Real));
  });
  const std::vector<sim::VariableRecord> After = Fw.Variables();
  ExpectSizesKept(Before, After);
  for (size_t V = 0; V < After.size(); ++V) {
    for (size_t Byte = 0; Byte < After[V].Data.size(); ++Byte) {
      if (After[V].Data[Byte] != Before[V].Data[Byte] &&
          !InsideAQuestion(Engine.Forms.Questions, After[V].Name, After[V].Guid, Byte)) {
        std::abort();
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  if (Size == 0) return 0;
  sim::Firmware &Fw = fuzz::ExportMachine();
  fuzz::ServeExportInput(Fw, Data, Size);
  const size_t PoolBlocks = Fw.LivePoolBlocks();
  const size_t PageRuns = Fw.LivePageRuns();
  {
    SettingsEngine *Engine = crt::New<SettingsEngine>();
    if (Engine == nullptr) std::abort();
    Engine->CombinedWrites = Data[0] & 1;
    ResetReloadFlags();  // each input as on a freshly loaded driver
    if (Engine->EnsureFormsLoaded() == EFI_SUCCESS) {
      CheckSetSettings(Fw, *Engine, Data, Size);
      CheckSetFormSettings(Fw, *Engine, Data, Size);
    }
    crt::Delete(Engine);
  }
  gReloadFlags.ReloadRequired = 0;
  fuzz::RestoreStartVariables(Fw);
  if (Fw.LivePoolBlocks() != PoolBlocks || Fw.LivePageRuns() != PageRuns) std::abort();
  return 0;
}

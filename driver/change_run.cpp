#include "driver/change_run.h"

#include "forms/variable_overlay.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/reload_flags.h"
#include "settings/settings_engine.h"

namespace {

// Points an engine's variable source and observer elsewhere for a scope.
class EngineRouting {
 public:
  EngineRouting(SettingsEngine &Engine, const VariableServices *Source, RunObserver *Observer)
      : Engine(Engine), SavedSource(Engine.Forms.VariableSource), SavedObserver(Engine.Observer) {
    Engine.Forms.VariableSource = Source;
    Engine.Observer = Observer;
  }
  ~EngineRouting() {
    Engine.Forms.VariableSource = SavedSource;
    Engine.Observer = SavedObserver;
  }
  EngineRouting(const EngineRouting &) = delete;
  EngineRouting &operator=(const EngineRouting &) = delete;

 private:
  SettingsEngine &Engine;
  const VariableServices *SavedSource;
  RunObserver *SavedObserver;
};

// One pass against the engine's variable source: the firmware in a real
// run, the plan's overlay in a plan, so a plan takes the very path (and
// meets the very stops) the real run takes in the session's write mode.
[[nodiscard]] EFI_STATUS RunPass(SettingsEngine &Engine, const ChangeRun &Run, StepSink &Sink) {
  if (Engine.CombinedWrites == 0) {
    EngineRouting Routing(Engine, Engine.Forms.VariableSource, Sink.Direct());
    return Run.Step(Engine, Run.Argument);
  }
  VariableOverlay Overlay(Engine.Forms.VariableSource);
  ChangeJournal Journal;
  EFI_STATUS StepStatus;
  {
    EngineRouting Routing(Engine, Overlay.Services(), Journal.Observer());
    StepStatus = Run.Step(Engine, Run.Argument);
  }
  // A variable the firmware failed to read or write ends the pass with
  // nothing of it written: no variable is left between what it was and
  // what the pass meant. Any other stop (a refused value) writes what came
  // before it, as the writes one question at a time would have.
  if (Journal.Failed()) return Journal.Abandon(Overlay, StepStatus, Sink);
  const EFI_STATUS Flushed = Overlay.Flush();
  return Journal.Settle(Overlay, Flushed, StepStatus, Run.Work, Sink);
}

[[nodiscard]] EFI_STATUS RunReal(SettingsEngine &Engine, const ChangeRun &Run) {
  StepSink Sink(Run.Client);
  EFI_STATUS Status = RunPass(Engine, Run, Sink);
  if (Status != EFI_SUCCESS) return Status;
  if (!Run.Retry || gReloadFlags.ReloadRequired != 1) return EFI_SUCCESS;

  // From the first retry on, a reshaping change no longer holds back the
  // rest of its form in the first pass.
  gReloadFlags.DeferAfterReloadChange = 0;
  Status = Engine.ResetForms();
  if (Status != EFI_SUCCESS) return Status;
  Status = Engine.EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;

  Sink.SetPass(2);
  Status = RunPass(Engine, Run, Sink);
  if (Status != EFI_SUCCESS) return Status;
  // At most one retry: a second pass that asks again is not repeated.
  gReloadFlags.ReloadRequired = 0;
  return EFI_SUCCESS;
}

// Keeps the driver-wide reload flags as they were before a plan.
class ReloadFlagsKept {
 public:
  ReloadFlagsKept() : Saved(gReloadFlags) {}
  ~ReloadFlagsKept() { gReloadFlags = Saved; }
  ReloadFlagsKept(const ReloadFlagsKept &) = delete;
  ReloadFlagsKept &operator=(const ReloadFlagsKept &) = delete;

 private:
  ReloadFlags Saved;
};

[[nodiscard]] EFI_STATUS RunPlan(SettingsEngine &Engine, const ChangeRun &Run) {
  ReloadFlagsKept Flags;
  VariableOverlay Overlay(Engine.Forms.VariableSource);
  StepSink Sink(Run.Client);
  EFI_STATUS Status;
  {
    // With combined writes, each planned pass keeps an overlay of its own
    // over this one, exactly as a real pass keeps one over the firmware: a
    // firmware failure then abandons the pass's changes in the plan too.
    EngineRouting Routing(Engine, Overlay.Services(), Engine.Observer);
    Status = RunPass(Engine, Run, Sink);
  }
  if (Status != EFI_SUCCESS) return Status;
  if (!Run.Retry || gReloadFlags.ReloadRequired != 1) return EFI_SUCCESS;

  gReloadFlags.DeferAfterReloadChange = 0;
  // The forms as the firmware would show them after the first pass: the
  // same HII export, the variables as the overlay holds them.
  crt::HeapObject<SettingsEngine> Owner(crt::New<SettingsEngine>());
  if (!Owner) return BCFG_E_OUT_OF_MEMORY;
  SettingsEngine &Reloaded = *Owner.Get();
  Reloaded.AllQuestionsMode = Engine.AllQuestionsMode;
  Reloaded.CombinedWrites = Engine.CombinedWrites;
  Reloaded.Forms.VariableSource = Overlay.Services();
  Status = Reloaded.EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;
  Sink.SetPass(2);
  return RunPass(Reloaded, Run, Sink);
}

}  // namespace

EFI_STATUS RunChange(SettingsEngine &Engine, const ChangeRun &Run) {
  const EFI_STATUS Status = Engine.EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;
  const bool Plan = Run.Client != nullptr && (Run.Client->Flags & BIOS_CONFIG_RUN_PLAN) != 0;
  return Plan ? RunPlan(Engine, Run) : RunReal(Engine, Run);
}

EFI_STATUS RunWithReloadAndRetry(SettingsEngine &Engine, ReloadWorkStep Step, void *Argument) {
  return RunChange(Engine, ChangeRun{ChangeWork::SetFormSettings, Step, Argument, true, nullptr});
}

// Hands the steps of a run to a client's callback as BIOS_CONFIG_STEP
// records: prompt, form title and option texts as NUL-terminated, aligned
// copies (the originals point into the packed HII export and have lengths
// instead of terminators), valid during the callback.
#pragma once

#include "bioscfg_protocol.h"
#include "settings/run_observer.h"

class StepSink {
 public:
  // Client may be nullptr or have no callback: then nothing is handed out.
  explicit StepSink(const BIOS_CONFIG_RUN *Client) : Client(Client), Pass(1) {
    Observer.Step = Observe;
    Observer.Context = this;
  }
  StepSink(const StepSink &) = delete;
  StepSink &operator=(const StepSink &) = delete;

  bool Wanted() const { return Client != nullptr && Client->Step != nullptr; }
  // The observer that emits each step as it comes (for runs whose steps are
  // final when they happen).
  RunObserver *Direct() { return Wanted() ? &Observer : nullptr; }
  void SetPass(UINT32 Number) { Pass = Number; }

  // Emits one step; NotStored marks a change whose combined write failed.
  void Emit(const ChangeStep &Step, bool NotStored);

 private:
  static void Observe(void *Self, const ChangeStep &Step) { static_cast<StepSink *>(Self)->Emit(Step, false); }

  const BIOS_CONFIG_RUN *Client;
  UINT32 Pass;
  RunObserver Observer;
};

#include "tests/support/step_recorder.h"

namespace {

std::string Narrow(const CHAR16 *Text) {
  std::string Out;
  for (; Text != nullptr && *Text != 0; ++Text) Out.push_back(static_cast<char>(*Text));
  return Out;
}

const char *KindName(UINT32 Kind) {
  switch (Kind) {
    case BIOS_CONFIG_STEP_CHANGE: return "change";
    case BIOS_CONFIG_STEP_REFUSE: return "refuse";
    case BIOS_CONFIG_STEP_FAIL: return "fail";
    default: return "?";
  }
}

}  // namespace

BIOS_CONFIG_RUN StepRecorder::Run(bool Plan) {
  BIOS_CONFIG_RUN Run{};
  Run.Flags = Plan ? BIOS_CONFIG_RUN_PLAN : 0;
  Run.Step = Keep;
  Run.Context = this;
  return Run;
}

void BIOSCFG_EFIAPI StepRecorder::Keep(VOID *Self, CONST BIOS_CONFIG_STEP *Step) {
  std::string Line = std::string(KindName(Step->Kind)) + " " + std::to_string(Step->Pass) + " [";
  Line += Step->Section != nullptr ? reinterpret_cast<const char *>(Step->Section) : Narrow(Step->FormTitle);
  Line += "] " + (Step->Key != nullptr ? std::string(reinterpret_cast<const char *>(Step->Key)) : Narrow(Step->Prompt));
  Line += " " + std::to_string(Step->OldValue) + "->" + std::to_string(Step->NewValue);
  if (Step->Flags & BIOS_CONFIG_STEP_RESHAPES) Line += " reshapes";
  if (Step->Flags & BIOS_CONFIG_STEP_MASKED) Line += " masked=" + std::to_string(Step->StoredValue);
  if (Step->Flags & BIOS_CONFIG_STEP_TOO_WIDE) Line += " too-wide";
  if (Step->Flags & BIOS_CONFIG_STEP_NOT_STORED) Line += " not-stored";
  static_cast<StepRecorder *>(Self)->Lines.push_back(Line);
}

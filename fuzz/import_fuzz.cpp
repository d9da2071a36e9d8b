// libFuzzer target: LoadSettingsFromIni's import of any INI file against
// the sample platform.
//
// The input is the file. It is written into the TORVEL_PATH folder and
// imported through the parser image iniparse.efi, loaded through
// LoadImage once and kept resident as on firmware, first as a plan, then
// for real, one write per question or combined (by the input's length).
// The plan must write nothing and tell the real run's status and steps, the
// reload-and-retry's second pass included. Afterwards every
// variable must have kept its size and attributes, and every byte that
// changed must belong to a visible question whose bytes now hold one of its
// allowed values: the import writes only what it range-checked. The
// variables go back to their defaults after every input, and the driver's
// heap must hold what it held before.
#include "driver/change_runs.h"
#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "fuzz/fuzz_platform.h"
#include "ini/ini_access.h"
#include "platform/sample_platform.h"
#include "runtime/crt.h"
#include "settings/reload_flags.h"
#include "settings/settings_engine.h"
#include "simimages/images.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr UINT32 HIDING = SETUP_QUESTION_SUPPRESSED | SETUP_QUESTION_HIDDEN | SETUP_QUESTION_GRAYED_OUT;

struct Importer {
  sim::Firmware &Fw;
  std::string Tools;  // the TORVEL_PATH folder on the host
  SettingsEngine *Engine;
};

std::string Text(const CHAR8 *Bytes) { return Bytes != nullptr ? reinterpret_cast<const char *>(Bytes) : ""; }

// The steps a run reports, as text to compare.
struct StepLog {
  std::vector<std::string> Lines;
  static void BIOSCFG_EFIAPI Keep(VOID *Self, CONST BIOS_CONFIG_STEP *Step) {
    std::string Line = std::to_string(Step->Kind) + " " + std::to_string(Step->Flags) + " " +
                       std::to_string(Step->Pass) + " " + std::to_string(Step->OldValue) + "->" +
                       std::to_string(Step->NewValue) + "=" + std::to_string(Step->StoredValue) + " " +
                       std::to_string(Step->FormId) + " " + Text(Step->Section) + " " + Text(Step->Key);
    for (const char16_t Unit : fuzz::WideText(Step->Prompt)) Line += static_cast<char>(Unit);
    static_cast<StepLog *>(Self)->Lines.push_back(Line);
  }
  BIOS_CONFIG_RUN Run(bool Plan) { return BIOS_CONFIG_RUN{Plan ? BIOS_CONFIG_RUN_PLAN : 0u, 0, Keep, this}; }
};

void PutSampleVariables(sim::Firmware &Fw) {
  for (const platform::PlatformVariable &V : platform::Sample().Variables) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
}

Importer &TheImporter() {
  static Importer *Made = [] {
    fuzz::Machine &M = fuzz::TheMachine();
    M.Fw.InstallHii(platform::Sample().Export, platform::Sample().HiiProtocolGuid, 1);
    PutSampleVariables(M.Fw);
    if (!M.Fw.InstallImage("fs0:\\tools\\iniparse.efi", simimages::IniparseImage())) std::abort();
    M.Fw.SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
    // The environment is read at start-up: once more, now with TORVEL_PATH.
    if (crt::Startup(M.Image, M.Fw.SystemTable()) != EFI_SUCCESS) std::abort();
    gImage.ImageHandle = M.Image;
    auto *Engine = crt::New<SettingsEngine>();
    if (Engine == nullptr || Engine->EnsureFormsLoaded() != EFI_SUCCESS) std::abort();
    return new Importer{M.Fw, M.Folder + "/tools", Engine};
  }();
  return *Made;
}

// The visible value question that owns byte Offset of the variable, or nullptr.
const SetupQuestion *Owner(const SetupQuestion *Questions, const sim::VariableRecord &V, size_t Offset) {
  for (const SetupQuestion *Q = Questions; Q != nullptr; Q = Q->Next) {
    if ((Q->Flags & HIDING) != 0 || (Q->Width != 1 && Q->Width != 2 && Q->Width != 4)) continue;
    if (Offset < Q->Offset || Offset >= static_cast<size_t>(Q->Offset) + Q->Width) continue;
    if (Q->VariableGuid == nullptr || std::memcmp(Q->VariableGuid, &V.Guid, sizeof(EFI_GUID)) != 0) continue;
    if (fuzz::WideText(Q->VariableName) == V.Name) return Q;
  }
  return nullptr;
}

uint32_t Held(const sim::VariableRecord &V, const SetupQuestion &Q) {
  uint32_t Value = 0;
  for (UINT16 B = 0; B < Q.Width; ++B) Value |= static_cast<uint32_t>(V.Data.at(Q.Offset + B)) << (8 * B);
  return Value;
}

void WriteSeeds(const char *Folder) {
  Importer &I = TheImporter();
  if (WriteBiosSection(*I.Engine, "seed.ini") != EFI_SUCCESS) std::abort();
  std::ifstream In(I.Tools + "/seed.ini", std::ios::binary);
  const std::string Saved((std::istreambuf_iterator<char>(In)), std::istreambuf_iterator<char>());
  fuzz::WriteSeed(Folder, "saved", Saved);
  std::string Changed = Saved;
  for (const char *Key : {"\nQuiet Boot=", "\nConsole Redirection=", "\nWake on LAN="}) {
    const size_t At = Changed.find(Key);
    if (At != std::string::npos) Changed[At + std::strlen(Key)] ^= 1;
  }
  fuzz::WriteSeed(Folder, "changed", Changed);
  fuzz::WriteSeed(Folder, "serial", "[BIOS]\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE]\nAddress=1016\n"
                                    "IRQ=4\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE]\nAddress=760\nIRQ=3\n");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) { return fuzz::WriteSeedsWhenAsked(WriteSeeds); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  Importer &I = TheImporter();
  std::ofstream(I.Tools + "/fuzz.ini", std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char *>(Data), static_cast<std::streamsize>(Size));
  const std::vector<sim::VariableRecord> Before = I.Fw.Variables();
  const size_t Blocks = crt::LiveBlockCount();

  ResetReloadFlags();  // each input as on a freshly loaded driver
  I.Engine->CombinedWrites = Size & 1;
  StepLog Planned;
  const BIOS_CONFIG_RUN PlanRun = Planned.Run(true);
  const EFI_STATUS PlannedStatus = RunChange(*I.Engine, LoadSettingsFromIniRun("fuzz.ini", &PlanRun));
  const std::vector<sim::VariableRecord> AfterPlan = I.Fw.Variables();
  for (size_t V = 0; V < AfterPlan.size(); ++V) {
    if (AfterPlan.size() != Before.size() || AfterPlan[V].Data != Before[V].Data) std::abort();  // a plan wrote
  }
  StepLog Real;
  const BIOS_CONFIG_RUN RealRun = Real.Run(false);
  if (RunChange(*I.Engine, LoadSettingsFromIniRun("fuzz.ini", &RealRun)) != PlannedStatus) std::abort();
  if (Real.Lines != Planned.Lines) std::abort();  // the plan told other steps

  const std::vector<sim::VariableRecord> After = I.Fw.Variables();
  if (After.size() != Before.size()) std::abort();
  for (size_t V = 0; V < After.size(); ++V) {
    if (After[V].Data.size() != Before[V].Data.size() || After[V].Attributes != Before[V].Attributes) std::abort();
    for (size_t Byte = 0; Byte < After[V].Data.size(); ++Byte) {
      if (After[V].Data[Byte] == Before[V].Data[Byte]) continue;
      const SetupQuestion *Q = Owner(I.Engine->Forms.Questions, After[V], Byte);
      if (Q == nullptr || !QuestionAcceptsValue(*Q, Held(After[V], *Q))) std::abort();
    }
  }
  // The forms go back to the defaults with the variables: each input
  // starts from the same machine.
  PutSampleVariables(I.Fw);
  if (I.Engine->ResetForms() != EFI_SUCCESS || I.Engine->EnsureFormsLoaded() != EFI_SUCCESS) std::abort();
  if (crt::LiveBlockCount() != Blocks) std::abort();
  return 0;
}

// Load time of a large setup database through the form database, inside the
// simulated firmware: median time of RetrieveForms + ParseForms, GetVariable
// calls per load and peak pool memory. Prints figures; passes or fails
// nothing.
#include "bench/synthetic_forms.h"
#include "driver/image_state.h"
#include "forms/setup_form_database.h"
#include "runtime/crt.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct LoadFigures {
  double Milliseconds = 0;
  uint64_t GetVariableCalls = 0;
  size_t PeakPoolBytes = 0;
  size_t Records = 0;
};

// The database lives in the driver's heap, as the engine's member does.
struct HeapDatabase {
  SetupFormDatabase *Db = crt::New<SetupFormDatabase>();
  HeapDatabase() = default;
  ~HeapDatabase() { crt::Delete(Db); }
  HeapDatabase(const HeapDatabase &) = delete;
  HeapDatabase &operator=(const HeapDatabase &) = delete;
};

bool LoadOnce(sim::Firmware &Fw, LoadFigures &Out) {
  HeapDatabase Owner;
  SetupFormDatabase *Db = Owner.Db;
  if (Db == nullptr) return false;
  Fw.ResetCounters();
  Fw.ResetPeak();
  const size_t PoolBefore = Fw.LivePoolBytes();
  auto Start = std::chrono::steady_clock::now();
  bool Loaded = Db->RetrieveForms() == EFI_SUCCESS && Db->ParseForms() == EFI_SUCCESS;
  auto End = std::chrono::steady_clock::now();
  Out.Milliseconds = std::chrono::duration<double, std::milli>(End - Start).count();
  Out.GetVariableCalls = Fw.Calls(sim::Service::GetVariable);
  Out.PeakPoolBytes = Fw.PeakPoolBytes() - PoolBefore;
  Out.Records = 0;
  for (const SetupQuestion *Q = Db->Questions; Q != nullptr; Q = Q->Next) ++Out.Records;
  return Loaded;
}

}  // namespace

int main(int Argc, char **Argv) {
  const int Runs = Argc > 1 ? std::max(1, std::atoi(Argv[1])) : 5;
  bench::SyntheticDatabase Synthetic = bench::BuildSyntheticDatabase({});

  sim::Firmware Fw;
  sim::TempFolder Folder("bioscfg-bench");
  if (Folder.Path().empty()) return 1;
  EFI_HANDLE Volume = Fw.MountVolume(Folder.Path());
  EFI_HANDLE Image = Fw.CreateLoadedImage(Volume, u"\\bench.efi");
  Fw.InstallHii(Synthetic.Export, Synthetic.HiiProtocolGuid);
  for (const auto &V : Synthetic.Variables) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  if (crt::Startup(Image, Fw.SystemTable()) != EFI_SUCCESS) {
    std::fprintf(stderr, "forms_load_bench: runtime start-up failed\n");
    return 1;
  }
  gImage.SystemTableCopy = *Fw.SystemTable();

  std::vector<LoadFigures> Loads;
  for (int Run = 0; Run < Runs; ++Run) {
    LoadFigures Figures;
    if (!LoadOnce(Fw, Figures)) {
      std::fprintf(stderr, "forms_load_bench: load %d failed\n", Run + 1);
      crt::Shutdown();
      return 1;
    }
    Loads.push_back(Figures);
  }
  crt::Shutdown();

  std::vector<double> Times;
  for (const LoadFigures &L : Loads) Times.push_back(L.Milliseconds);
  std::sort(Times.begin(), Times.end());
  const LoadFigures &Last = Loads.back();
  std::printf("forms_load_bench: %d questions, %d condition terms, %zu variables, export %zu bytes\n",
              Synthetic.Questions, Synthetic.ConditionTerms, Synthetic.Variables.size(), Synthetic.Export.size());
  std::printf("  records per load        %zu\n", Last.Records);
  std::printf("  loads                   %d\n", Runs);
  std::printf("  median load time        %.2f ms (min %.2f, max %.2f)\n", Times[Times.size() / 2], Times.front(),
              Times.back());
  std::printf("  GetVariable calls/load  %llu\n", static_cast<unsigned long long>(Last.GetVariableCalls));
  std::printf("  peak pool memory        %zu bytes\n", Last.PeakPoolBytes);
  return 0;
}

// Load and list figures of large setup databases, inside the simulated
// firmware, for 1,000, 10,000 and 100,000 questions (or the sizes given):
// median time of RetrieveForms + ParseForms, median time of the host tool's
// listing of the loaded database written to /dev/null, pool and page
// allocations per load, peak pool memory and GetVariable calls. Prints
// figures; passes or fails nothing.
//
//   forms_load_bench [RUNS [QUESTIONS...]]
#include "bench/synthetic_forms.h"
#include "driver/image_state.h"
#include "forms/setup_form_database.h"
#include "runtime/crt.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"
#include "tools/bioscfg-sim/question_listing.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct LoadFigures {
  double LoadMilliseconds = 0;
  double ListMilliseconds = 0;
  uint64_t PoolAllocations = 0;
  uint64_t PageAllocations = 0;
  uint64_t GetVariableCalls = 0;
  size_t PeakPoolBytes = 0;
  size_t Records = 0;
};

double MillisecondsSince(Clock::time_point Start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - Start).count();
}

// The database lives in the driver's heap, as the engine's member does.
struct HeapDatabase {
  SetupFormDatabase *Db = crt::New<SetupFormDatabase>();
  HeapDatabase() = default;
  ~HeapDatabase() { crt::Delete(Db); }
  HeapDatabase(const HeapDatabase &) = delete;
  HeapDatabase &operator=(const HeapDatabase &) = delete;
};

bool LoadAndList(sim::Firmware &Fw, std::FILE *Sink, LoadFigures &Out) {
  HeapDatabase Owner;
  SetupFormDatabase *Db = Owner.Db;
  if (Db == nullptr) return false;
  Fw.ResetCounters();
  Fw.ResetPeak();
  const size_t PoolBefore = Fw.LivePoolBytes();
  auto Start = Clock::now();
  bool Loaded = Db->RetrieveForms() == EFI_SUCCESS && Db->ParseForms() == EFI_SUCCESS;
  Out.LoadMilliseconds = MillisecondsSince(Start);
  Out.PoolAllocations = Fw.Calls(sim::Service::AllocatePool);
  Out.PageAllocations = Fw.Calls(sim::Service::AllocatePages);
  Out.GetVariableCalls = Fw.Calls(sim::Service::GetVariable);
  Out.PeakPoolBytes = Fw.PeakPoolBytes() - PoolBefore;
  Out.Records = 0;
  for (const SetupQuestion *Q = Db->Questions; Q != nullptr; Q = Q->Next) ++Out.Records;

  Start = Clock::now();
  bioscfgsim::WriteQuestionList(Sink, Db->Questions);
  std::fflush(Sink);
  Out.ListMilliseconds = MillisecondsSince(Start);
  return Loaded;
}

double Median(std::vector<double> Values) {
  std::sort(Values.begin(), Values.end());
  return Values[Values.size() / 2];
}

bool Measure(int Questions, int Runs, std::FILE *Sink) {
  bench::SyntheticShape Shape;
  Shape.Questions = Questions;
  const bench::SyntheticDatabase Synthetic = bench::BuildSyntheticDatabase(Shape);

  sim::Firmware Fw;
  sim::TempFolder Folder("bioscfg-bench");
  if (Folder.Path().empty()) return false;
  EFI_HANDLE Volume = Fw.MountVolume(Folder.Path());
  EFI_HANDLE Image = Fw.CreateLoadedImage(Volume, u"\\bench.efi");
  Fw.InstallHii(Synthetic.Export, Synthetic.HiiProtocolGuid);
  for (const auto &V : Synthetic.Variables) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  if (crt::Startup(Image, Fw.SystemTable()) != EFI_SUCCESS) {
    std::fprintf(stderr, "forms_load_bench: runtime start-up failed\n");
    return false;
  }
  gImage.SystemTableCopy = *Fw.SystemTable();

  std::vector<LoadFigures> Loads;
  for (int Run = 0; Run < Runs; ++Run) {
    LoadFigures Figures;
    if (!LoadAndList(Fw, Sink, Figures)) {
      std::fprintf(stderr, "forms_load_bench: load %d failed\n", Run + 1);
      crt::Shutdown();
      return false;
    }
    Loads.push_back(Figures);
  }
  crt::Shutdown();

  std::vector<double> LoadTimes, ListTimes;
  for (const LoadFigures &L : Loads) {
    LoadTimes.push_back(L.LoadMilliseconds);
    ListTimes.push_back(L.ListMilliseconds);
  }
  const LoadFigures &Last = Loads.back();
  std::printf("forms_load_bench: %d questions (%d with 0..65535), %llu options, %d condition terms, %zu variables, "
              "export %zu bytes, %d runs\n",
              Synthetic.Questions, Shape.FullRangeNumerics, static_cast<unsigned long long>(Synthetic.Options),
              Synthetic.ConditionTerms, Synthetic.Variables.size(), Synthetic.Export.size(), Runs);
  std::printf("  records per load          %zu\n", Last.Records);
  std::printf("  median load time          %.2f ms (min %.2f)\n", Median(LoadTimes),
              *std::min_element(LoadTimes.begin(), LoadTimes.end()));
  std::printf("  median list time          %.2f ms (min %.2f), the host tool's listing to /dev/null\n",
              Median(ListTimes), *std::min_element(ListTimes.begin(), ListTimes.end()));
  std::printf("  pool allocations per load %llu (%.4f per question), page allocations %llu\n",
              static_cast<unsigned long long>(Last.PoolAllocations),
              static_cast<double>(Last.PoolAllocations) / Synthetic.Questions,
              static_cast<unsigned long long>(Last.PageAllocations));
  std::printf("  peak pool memory          %zu bytes (%.1f bytes per question; the export buffer and the "
              "option texts are pages, not pool)\n",
              Last.PeakPoolBytes, static_cast<double>(Last.PeakPoolBytes) / Synthetic.Questions);
  std::printf("  GetVariable calls/load    %llu\n", static_cast<unsigned long long>(Last.GetVariableCalls));
  return true;
}

}  // namespace

int main(int Argc, char **Argv) {
  const int Runs = Argc > 1 ? std::max(1, std::atoi(Argv[1])) : 5;
  std::vector<int> Sizes;
  for (int Arg = 2; Arg < Argc; ++Arg) Sizes.push_back(std::max(1, std::atoi(Argv[Arg])));
  if (Sizes.empty()) Sizes = {1000, 10000, 100000};

  // Buffered as the host tool buffers its stdout.
  std::FILE *Sink = std::fopen("/dev/null", "w");
  if (Sink == nullptr) return 1;
  static char Buffer[1 << 16];
  std::setvbuf(Sink, Buffer, _IOFBF, sizeof Buffer);
  bool Measured = true;
  for (int Questions : Sizes) Measured = Measure(Questions, Runs, Sink) && Measured;
  std::fclose(Sink);
  return Measured ? 0 : 1;
}

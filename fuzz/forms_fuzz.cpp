// libFuzzer target: the firmware's HII export, and the setup variables the
// forms read.
//
// An input is an export, optionally followed by variable contents:
//
//   export | records | length of records (UINT16 LE) | "VARS"
//
// where each record is a selector byte (which variable: a name and GUID the
// seeds' forms use), a UINT16 LE size and that many bytes. Sizes run past
// the 4096 bytes the driver reads. Without the tag the variables keep the
// contents the machine started with. The export is served by the simulated
// Framework HII protocol and taken through RetrieveForms, ParseForms and
// DiscardForms. Every text and name the records point at is read in full,
// so that a pointer outside the export shows up under AddressSanitizer, and
// the pool blocks and page runs must be back where they were.
#include "driver/image_state.h"
#include "forms/framework_hii.h"
#include "forms/option_cursor.h"
#include "forms/setup_form_database.h"
#include "fuzz/export_guard.h"
#include "fuzz/fuzz_platform.h"
#include "fuzz/seed_guids.h"
#include "platform/sample_platform.h"
#include "runtime/crt.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr uint64_t ALLOCATIONS_PER_INPUT = 200000;
constexpr char VARIABLES_TAG[4] = {'V', 'A', 'R', 'S'};
constexpr size_t TRAILER_BYTES = sizeof(VARIABLES_TAG) + 2;

struct Variable {
  std::u16string Name;
  EFI_GUID Guid;
  UINT32 Attributes;
  std::vector<uint8_t> Data;  // at start-up
};

// The variables an input may set: those of the seeds' forms, then the
// sample platform's. "Large" starts over the 4096-byte read limit.
std::vector<Variable> &Variables() {
  static std::vector<Variable> Known = [] {
    std::vector<Variable> All;
    std::vector<uint8_t> Setup(64);
    for (size_t I = 0; I < Setup.size(); ++I) Setup[I] = static_cast<uint8_t>(I % 3);
    for (const EFI_GUID &Guid : {fuzz::kSeedFormSetGuid, fuzz::kSeedOtherGuid}) {
      All.push_back({u"Setup", Guid, 0x7, Setup});
      All.push_back({u"Other", Guid, 0x3, {1, 0, 1, 0}});
      All.push_back({u"Large", Guid, 0x7, std::vector<uint8_t>(5000, 1)});
    }
    for (const platform::PlatformVariable &V : platform::Sample().Variables) {
      All.push_back({V.Name, V.Guid, V.Attributes, V.Data});
    }
    return All;
  }();
  return Known;
}

sim::Firmware &Machine() {
  static sim::Firmware &Fw = [] () -> sim::Firmware & {
    sim::Firmware &Made = fuzz::TheMachine().Fw;
    for (const Variable &V : Variables()) Made.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
    Made.InstallHii({}, gFrameworkHiiProtocolGuid, 1);
    return Made;
  }();
  return Fw;
}

uint16_t Le16(const uint8_t *At) { return static_cast<uint16_t>(At[0] | At[1] << 8); }

// Sets the variables the trailer describes and returns the export's size;
// restores the start-up contents when the last input changed them.
size_t ApplyVariables(sim::Firmware &Fw, const uint8_t *Data, size_t Size) {
  static bool Changed = false;
  if (Changed) {
    for (const Variable &V : Variables()) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
    Changed = false;
  }
  if (Size < TRAILER_BYTES || std::memcmp(Data + Size - 4, VARIABLES_TAG, 4) != 0) return Size;
  const size_t RecordBytes = Le16(Data + Size - TRAILER_BYTES);
  if (RecordBytes > Size - TRAILER_BYTES) return Size;
  const size_t ExportSize = Size - TRAILER_BYTES - RecordBytes;
  const uint8_t *Record = Data + ExportSize;
  const uint8_t *End = Record + RecordBytes;
  while (End - Record >= 3) {
    const Variable &V = Variables()[Record[0] % Variables().size()];
    const size_t Length = Le16(Record + 1);
    Record += 3;
    // A size beyond the bytes left repeats them: large variables stay cheap to describe.
    std::vector<uint8_t> Contents(Length);
    for (size_t I = 0; I < Length; ++I) Contents[I] = Record < End ? Record[I % static_cast<size_t>(End - Record)] : 0;
    Fw.PutVariable(V.Name, V.Guid, V.Attributes, Contents);
    Record += Length < static_cast<size_t>(End - Record) ? Length : static_cast<size_t>(End - Record);
    Changed = true;
  }
  return ExportSize;
}

// Reads every unit of a NUL-terminated wide text, byte-wise.
size_t TouchWide(const CHAR16 *Text) {
  const auto *Bytes = reinterpret_cast<const volatile uint8_t *>(Text);
  size_t Units = 0;
  while (Bytes[2 * Units] != 0 || Bytes[2 * Units + 1] != 0) ++Units;
  return Units;
}

void TouchRecords(const SetupFormDatabase &Db) {
  for (const SetupQuestion *Q = Db.Questions; Q != nullptr; Q = Q->Next) {
    if (Q->PromptText != nullptr && TouchWide(Q->PromptText) != Q->PromptLength) std::abort();
    if (Q->VariableName != nullptr) (void)TouchWide(Q->VariableName);
    if (Q->VariableGuid != nullptr) {
      volatile uint8_t Sum = 0;
      for (size_t I = 0; I < sizeof(EFI_GUID); ++I) Sum = Sum + reinterpret_cast<const uint8_t *>(Q->VariableGuid)[I];
    }
    OptionCursor Cursor(*Q);
    OptionView O{};
    while (Cursor.Next(O)) {
      if (O.Text != nullptr && TouchWide(O.Text) != O.TextLength) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  sim::Firmware &Fw = Machine();
  const size_t ExportSize = ApplyVariables(Fw, Data, Size);
  Fw.SetHiiExport(std::vector<uint8_t>(Data, Data + ExportSize));
  gImage.Hii = nullptr;
  const size_t PoolBlocks = Fw.LivePoolBlocks();
  const size_t PageRuns = Fw.LivePageRuns();
  // A few wide numeric ranges make millions of options; firmware would run
  // out of pool long before, and so does the simulator here.
  Fw.FailAllocationsAfter(ALLOCATIONS_PER_INPUT);
  {
    SetupFormDatabase Db;
    if (Db.RetrieveForms() == EFI_SUCCESS) {
      ExportGuard Guard(Db);
      (void)Db.ParseForms();
      TouchRecords(Db);
    }
    (void)Db.DiscardForms();
  }
  Fw.ClearFaults();
  if (Fw.LivePoolBlocks() != PoolBlocks || Fw.LivePageRuns() != PageRuns) std::abort();
  return 0;
}

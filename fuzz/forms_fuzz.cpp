// libFuzzer target: the firmware's HII export, and the setup variables the
// forms read (the input's layout: fuzz/export_input.h). The export is
// served by the simulated Framework HII protocol and taken through
// RetrieveForms, ParseForms and DiscardForms. Every text and name the records point at is read in full,
// so that a pointer outside the export shows up under AddressSanitizer, and
// the pool blocks and page runs must be back where they were.
#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "forms/setup_form_database.h"
#include "fuzz/export_guard.h"
#include "fuzz/export_input.h"
#include "fuzz/fuzz_platform.h"
#include "hiibuild/framework_hii.h"
#include "runtime/crt.h"

#include <cstdint>
#include <cstdlib>

namespace {

constexpr uint64_t ALLOCATIONS_PER_INPUT = 200000;
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
  sim::Firmware &Fw = fuzz::ExportMachine();
  fuzz::ServeExportInput(Fw, Data, Size);
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

#include "fuzz/export_input.h"

#include "driver/image_state.h"
#include "fuzz/fuzz_platform.h"
#include "fuzz/seed_guids.h"
#include "hiibuild/framework_hii.h"
#include "platform/sample_platform.h"

#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

namespace {

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

}  // namespace

sim::Firmware &ExportMachine() {
  static sim::Firmware &Fw = [] () -> sim::Firmware & {
    sim::Firmware &Made = fuzz::TheMachine().Fw;
    for (const Variable &V : Variables()) Made.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
    Made.InstallHii({}, gFrameworkHiiProtocolGuid, 1);
    return Made;
  }();
  return Fw;
}

namespace {

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

}  // namespace

void RestoreStartVariables(sim::Firmware &Fw) {
  for (const Variable &V : Variables()) Fw.PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
}

void ServeExportInput(sim::Firmware &Fw, const uint8_t *Data, size_t Size) {
  const size_t ExportSize = ApplyVariables(Fw, Data, Size);
  Fw.SetHiiExport(std::vector<uint8_t>(Data, Data + ExportSize));
}

}  // namespace fuzz

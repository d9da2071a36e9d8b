// Every firmware call the driver makes may fail. For each operation (load,
// OpenSession, a form load, CloseSession, unload), the Nth call of each
// boot and runtime service it makes is failed, for every N, with a few
// representative statuses and a warning (a warning comes back with nothing
// done, as an injected failure does). Afterwards the operation has returned
// one of its documented statuses, the driver works again once the fault is
// gone, and after unload no pool block or page run is left.
//
// Each case runs on a platform of its own, so a case cannot leave anything
// behind for the next. Where a service is called more often than
// MAX_CALLS_SWEPT times, an even sample of its calls (the first and the last
// included) is failed instead of all of them.
#include "driver/image_state.h"
#include "hiibuild/host/hii_export_builder.h"
#include "settings/settings_engine.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"
#include "simimages/images.h"
#include "tests/support/driver_harness.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace {

constexpr uint64_t MAX_CALLS_SWEPT = 48;
constexpr size_t SERVICE_COUNT = static_cast<size_t>(sim::Service::Count);
using CallCounts = std::array<uint64_t, SERVICE_COUNT>;

constexpr EFI_GUID kFormSetGuid = {0x6b1f0c2e, 0x58a4, 0x4c31, {0x9e, 0x22, 0x41, 0x0d, 0x77, 0x5a, 0x13, 0xc8}};

// Not swept: the frees (firmware never fails to free a valid block, and a
// refused free is a leak the driver could not undo), and the calls by which
// the client starts and unloads the driver, which are not the driver's.
bool Swept(sim::Service S) {
  return S != sim::Service::FreePool && S != sim::Service::FreePages && S != sim::Service::StartImage &&
         S != sim::Service::UnloadImage;
}

// EFI_NOT_FOUND is not among them: it is an answer, not a failure. A
// firmware that says TORVEL_PATH does not exist is believed until the driver
// is loaded again, as the variable is read once.
const EFI_STATUS kStatuses[] = {EFI_OUT_OF_RESOURCES, EFI_DEVICE_ERROR, EFI_INVALID_PARAMETER,
                                EFI_WARN_BUFFER_TOO_SMALL};

// Conditions, a varstore, the three question kinds, over two variables.
std::vector<uint8_t> SweepExport() {
  hiibuild::ExportBuilder Export;
  hiibuild::DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"Setup").VariablePack(kFormSetGuid, 2, u"Other");
  Table.Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(1, u"Main")
      .SuppressIf().EqIdVal(0, 1, 1).Not().And().EqIdList(1, 1, {0, 2})
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .EndIf()
      .CheckBox(1, 1, u"Switch")
      .VarStoreSelect(2)
      .Numeric(0, 2, u"Count", {0, 40, 4, 8})
      .EndForm()
      .EndFormSet();
  return Export.Build();
}

// One platform as a deployment has it: fs0: with tools\bioscfg.str,
// TORVEL_PATH set as the Shell sets it, the forms, and the driver image.
class Platform {
 public:
  explicit Platform(const std::string &Folder) {
    Fw.MountVolume(Folder);
    Fw.SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
    Fw.PutVariable(u"Setup", kFormSetGuid, 0x7, {1, 2, 3, 4});
    Fw.PutVariable(u"Other", kFormSetGuid, 0x7, {12, 0});
    Fw.InstallHii(SweepExport(), kFrameworkHiiProtocolGuid, 1);
    if (!Fw.InstallImage("fs0:\\tools\\bioscfg.efi", simimages::BioscfgImage())) std::abort();
  }

  sim::Firmware Fw;
  EFI_HANDLE Image = nullptr;

  // Found without a firmware call, so the test's own look-ups are neither
  // counted nor failed.
  BIOS_CONFIG_PROTOCOL *Protocol() {
    const EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
    return Image == nullptr ? nullptr : static_cast<BIOS_CONFIG_PROTOCOL *>(Fw.FindProtocol(Image, Guid));
  }
  EFI_STATUS Load() { return Fw.LoadAndStart("fs0:\\tools\\bioscfg.efi", &Image); }
  EFI_STATUS Open() { return Protocol()->OpenSession(Protocol()); }
  EFI_STATUS LoadForms() { return Protocol()->GetSettings(Protocol(), nullptr); }
  size_t QuestionCount() const {
    size_t Count = 0;
    for (const SetupQuestion *Q = gImage.Engine->Forms.Questions; Q != nullptr; Q = Q->Next) ++Count;
    return Count;
  }
};

struct Operation {
  const char *Name;
  // From a fresh platform to the state the operation starts in.
  std::function<void(Platform &)> Prepare;
  std::function<EFI_STATUS(Platform &)> Run;
  EFI_STATUS Faultless;  // what Run returns when nothing fails
  // The statuses the operation may return; empty: any.
  std::set<EFI_STATUS> Documented;
  // Checks that the driver works again; leaves it loaded or not.
  std::function<void(Platform &, EFI_STATUS)> Recover;
};

class FaultSweepTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    Folder = std::make_unique<sim::TempFolder>("bioscfg-sweep");
    std::filesystem::create_directories(Folder->Path() + "/tools");
    const std::vector<uint8_t> Catalog = DriverCatalogImage();
    std::ofstream(Folder->Path() + "/tools/bioscfg.str", std::ios::binary)
        .write(reinterpret_cast<const char *>(Catalog.data()), static_cast<std::streamsize>(Catalog.size()));
  }
  static void TearDownTestSuite() { Folder.reset(); }

  // Questions a faultless load finds (form record included).
  static size_t FullQuestionCount() {
    Platform P(Folder->Path());
    EXPECT_EQ(P.Load(), EFI_SUCCESS);
    EXPECT_EQ(P.Open(), EFI_SUCCESS);
    EXPECT_EQ(P.LoadForms(), BCFG_E_INVALID_PARAMETER);
    const size_t Count = P.QuestionCount();
    EXPECT_EQ(P.Fw.UnloadImage(P.Image), EFI_SUCCESS);
    return Count;
  }

  // The calls of each service that gnu-efi's InitializeLib makes first
  // thing in the entry point. That library takes the outputs of a call that
  // did not fail as valid, so a warning there is beyond the driver's reach.
  static CallCounts InitializeLibCalls() {
    Platform P(Folder->Path());
    EXPECT_EQ(P.Fw.LoadImageFile("fs0:\\tools\\bioscfg.efi", &P.Image), EFI_SUCCESS);
    P.Fw.ResetCounters();
    InitializeLib(P.Image, P.Fw.SystemTable());
    CallCounts Counts{};
    for (size_t S = 0; S < SERVICE_COUNT; ++S) Counts[S] = P.Fw.Calls(static_cast<sim::Service>(S));
    return Counts;
  }

  static CallCounts CountCalls(const Operation &Op) {
    Platform P(Folder->Path());
    Op.Prepare(P);
    P.Fw.ResetCounters();
    EXPECT_EQ(Op.Run(P), Op.Faultless) << Op.Name << " without faults";
    CallCounts Counts{};
    for (size_t S = 0; S < SERVICE_COUNT; ++S) Counts[S] = P.Fw.Calls(static_cast<sim::Service>(S));
    return Counts;
  }

  static std::vector<uint64_t> CallsToFail(uint64_t Count) {
    std::vector<uint64_t> Calls;
    if (Count <= MAX_CALLS_SWEPT) {
      for (uint64_t N = 1; N <= Count; ++N) Calls.push_back(N);
      return Calls;
    }
    for (uint64_t I = 0; I < MAX_CALLS_SWEPT; ++I) Calls.push_back(1 + I * (Count - 1) / (MAX_CALLS_SWEPT - 1));
    return Calls;
  }

  // Runs every case of Op; returns how many ran.
  size_t Sweep(const Operation &Op, const CallCounts &SkipWarnings = {}) {
    const CallCounts Counts = CountCalls(Op);
    size_t Cases = 0;
    for (size_t Index = 0; Index < SERVICE_COUNT; ++Index) {
      const auto Service = static_cast<sim::Service>(Index);
      if (!Swept(Service)) continue;
      for (const uint64_t N : CallsToFail(Counts[Index])) {
        for (const EFI_STATUS Status : kStatuses) {
          if (!EFI_ERROR(Status) && N <= SkipWarnings[Index]) continue;
          SCOPED_TRACE(testing::Message() << Op.Name << ": call " << N << " of " << sim::ServiceName(Service)
                                          << " fails with 0x" << std::hex << Status);
          RunCase(Op, Service, N, Status);
          ++Cases;
          if (HasFatalFailure()) return Cases;
        }
      }
    }
    return Cases;
  }

  static void RunCase(const Operation &Op, sim::Service Service, uint64_t N, EFI_STATUS Fault) {
    Platform P(Folder->Path());
    Op.Prepare(P);
    P.Fw.FailNthCall(Service, N, Fault);
    const EFI_STATUS Status = Op.Run(P);
    P.Fw.ClearFaults();
    if (!Op.Documented.empty()) {
      EXPECT_TRUE(Op.Documented.count(Status) != 0) << "returned 0x" << std::hex << Status;
    }
    Op.Recover(P, Status);
    if (P.Protocol() != nullptr) {
      ASSERT_EQ(P.Fw.UnloadImage(P.Image), EFI_SUCCESS);
    }
    EXPECT_EQ(P.Fw.LivePoolBlocks(), 0u) << "pool blocks left after unload";
    EXPECT_EQ(P.Fw.LivePageRuns(), 0u) << "page runs left after unload";
  }

  // A loaded driver whose session opens and whose forms load in full.
  static void ExpectWorking(Platform &P) {
    ASSERT_NE(P.Protocol(), nullptr) << "no driver installed";
    ASSERT_EQ(P.Open(), EFI_SUCCESS);
    ASSERT_EQ(P.LoadForms(), BCFG_E_INVALID_PARAMETER);
    EXPECT_EQ(P.QuestionCount(), FullQuestions);
  }

  static std::unique_ptr<sim::TempFolder> Folder;
  static size_t FullQuestions;
};

std::unique_ptr<sim::TempFolder> FaultSweepTest::Folder;
size_t FaultSweepTest::FullQuestions = 0;

void Loaded(Platform &P) { ASSERT_EQ(P.Load(), EFI_SUCCESS); }
void SessionOpen(Platform &P) {
  Loaded(P);
  ASSERT_EQ(P.Open(), EFI_SUCCESS);
}
void FormsLoaded(Platform &P) {
  SessionOpen(P);
  ASSERT_EQ(P.LoadForms(), BCFG_E_INVALID_PARAMETER);
}

TEST_F(FaultSweepTest, EveryFailedFirmwareCallLeavesAWorkingDriverAndNoLeak) {
  FullQuestions = FullQuestionCount();
  ASSERT_EQ(FullQuestions, 4u);
  const CallCounts LibraryCalls = InitializeLibCalls();

  const Operation Load{
      "load",
      [](Platform &P) { ASSERT_EQ(P.Fw.LoadImageFile("fs0:\\tools\\bioscfg.efi", &P.Image), EFI_SUCCESS); },
      [](Platform &P) { return P.Fw.StartImage(P.Image); },
      EFI_SUCCESS,
      {},
      [](Platform &P, EFI_STATUS) {
        // A failed load leaves the image discarded; a load that warned may
        // have left it without its protocol. Either way a new copy loads.
        if (P.Protocol() == nullptr) {
          ASSERT_EQ(P.Load(), EFI_SUCCESS);
        }
        ExpectWorking(P);
      }};
  const Operation Open{"OpenSession", Loaded, [](Platform &P) { return P.Open(); }, EFI_SUCCESS,
                       {EFI_SUCCESS, BCFG_E_GENERAL_FAILURE},
                       [](Platform &P, EFI_STATUS) { ExpectWorking(P); }};
  const Operation Forms{"form load", SessionOpen, [](Platform &P) { return P.LoadForms(); },
                        BCFG_E_INVALID_PARAMETER, {BCFG_E_INVALID_PARAMETER, BCFG_E_VARIABLE_ACCESS},
                        [](Platform &P, EFI_STATUS) {
                          // A load that lost questions to a fault keeps them lost for
                          // the session; the next session reads them all.
                          ASSERT_EQ(P.LoadForms(), BCFG_E_INVALID_PARAMETER);
                          ExpectWorking(P);
                        }};
  const Operation Close{"CloseSession", FormsLoaded,
                        [](Platform &P) { return P.Protocol()->CloseSession(P.Protocol()); }, EFI_SUCCESS,
                        {EFI_SUCCESS},
                        [](Platform &P, EFI_STATUS) {
                          ExpectWorking(P);
                          EXPECT_EQ(P.Protocol()->CloseSession(P.Protocol()), EFI_SUCCESS);
                        }};
  const Operation Unload{"unload", FormsLoaded, [](Platform &P) { return P.Fw.UnloadImage(P.Image); },
                         EFI_SUCCESS, {},
                         [](Platform &P, EFI_STATUS Status) {
                           // The unload handler's status is the uninstall's: a failed
                           // one keeps the image, and it unloads once the fault is gone.
                           if (EFI_ERROR(Status)) {
                             ASSERT_EQ(P.Fw.UnloadImage(P.Image), EFI_SUCCESS);
                           }
                           ASSERT_EQ(P.Load(), EFI_SUCCESS);
                           ExpectWorking(P);
                         }};

  size_t Cases = Sweep(Load, LibraryCalls);
  for (const Operation *Op : {&Open, &Forms, &Close, &Unload}) {
    if (HasFatalFailure()) break;
    Cases += Sweep(*Op);
  }
  std::printf("fault sweep: %zu cases\n", Cases);
}

}  // namespace

// The environment built from firmware variables at Startup.
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr EFI_GUID SHELL_GUID = {0x158DEF5A, 0xF656, 0x419C, {0xB0, 0x27, 0x7A, 0x31, 0x92, 0xC0, 0x79, 0xD2}};
constexpr EFI_GUID VENDOR_A = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
constexpr EFI_GUID VENDOR_B = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};

std::vector<uint8_t> Ucs2(const std::u16string &Text) {
  std::vector<uint8_t> Out;
  for (char16_t Unit : Text) Out.insert(Out.end(), {static_cast<uint8_t>(Unit), static_cast<uint8_t>(Unit >> 8)});
  return Out;
}

std::vector<uint8_t> Narrow(const std::string &Text) { return {Text.begin(), Text.end()}; }

std::string Env(const char *Name) {
  const char *Value = crt::getenv(Name);
  return Value != nullptr ? Value : "<unset>";
}

class EnvironmentTest : public SimTest {
 protected:
  void Put(const std::u16string &Name, const EFI_GUID &Guid, const std::vector<uint8_t> &Data) {
    Fw().PutVariable(Name, Guid, EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, Data);
  }
};

TEST_F(EnvironmentTest, TextVariablesOfEitherWidthAreVisible) {
  Put(u"TORVEL_PATH", VENDOR_A, Ucs2(u"fs9:\\vendor"));
  Put(u"TORVEL_PATH", SHELL_GUID, Ucs2(u"fs0:\\tools"));  // as the Shell's `set` stores it
  Put(u"TORVEL_PATH", VENDOR_B, Ucs2(u"fs9:\\later"));
  Put(u"NARROW_NUL", VENDOR_A, Narrow(std::string("v1", 3)));
  Put(u"SecureBoot", VENDOR_B, {0x00});
  Put(u"MAX_VALUE", VENDOR_A, Narrow(std::string(4096, 'm')));
  Put(u"TOO_BIG", VENDOR_A, Narrow(std::string(4097, 'b')));
  Put(std::u16string(2047, u'L'), VENDOR_A, Narrow("long"));  // the longest name setup variables have
  Put(u"WIDE\u0141NAME", VENDOR_A, Narrow("skipped"));
  Put(u"AFTER", VENDOR_A, Narrow("still read"));
  RestartRuntime();

  EXPECT_EQ(Env("TORVEL_PATH"), "fs0:\\tools") << "the Shell's GUID wins";
  EXPECT_EQ(Env("NARROW_NUL"), "v1");
  EXPECT_EQ(Env("SecureBoot"), "<unset>") << "one zero byte is not text";
  EXPECT_EQ(Env("torvel_path"), "<unset>") << "names are case-sensitive";
  EXPECT_EQ(crt::getenv(nullptr), nullptr);
  EXPECT_EQ(Env("MAX_VALUE"), std::string(4096, 'm'));
  EXPECT_EQ(Env("TOO_BIG"), "<unset>");
  EXPECT_EQ(Env(std::string(2047, 'L').c_str()), "long");
  EXPECT_EQ(Env("AFTER"), "still read") << "a skipped name does not end the enumeration";
}

TEST_F(EnvironmentTest, ResourceFaultsAtStartup) {
  Put(u"ONE", VENDOR_A, Narrow("1"));
  crt::Shutdown();
  // A failure cuts the enumeration short quietly; a name then missing is
  // looked for again by a fresh enumeration, which keeps what was found.
  Put(u"TWO", VENDOR_A, Narrow("2"));
  Fw().FailNthCall(sim::Service::GetNextVariableName, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::Startup(Image(), Fw().SystemTable()), EFI_SUCCESS);
  const char *One = crt::getenv("ONE");
  ASSERT_NE(One, nullptr);
  Fw().ResetCounters();
  EXPECT_EQ(Env("TWO"), "2");
  EXPECT_EQ(crt::getenv("ONE"), One) << "a text handed out stays where it was";
  EXPECT_EQ(Env("THREE"), "<unset>");
  EXPECT_EQ(Fw().Calls(sim::Service::GetNextVariableName), 3u) << "complete now: THREE asked for no enumeration";

  crt::Shutdown();
  Fw().FailNthCall(sim::Service::GetVariable, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::Startup(Image(), Fw().SystemTable()), EFI_SUCCESS);
  EXPECT_EQ(Env("ONE"), "1") << "an unreadable value is read again";

  crt::Shutdown();
  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(crt::Startup(Image(), Fw().SystemTable()), EFI_OUT_OF_RESOURCES);
  Fw().ClearFaults();
}

// Firmware doubles for GetNextVariableName that misbehave.
UINTN gNextNameCalls = 0;

EFI_STATUS EFIAPI SameNameForever(UINTN *Size, CHAR16 *Name, EFI_GUID *Guid) {
  ++gNextNameCalls;
  if (*Size < 8) {
    *Size = 8;
    return EFI_BUFFER_TOO_SMALL;
  }
  for (int I = 0; I < 4; ++I) Name[I] = u"LOO"[I];
  *Guid = VENDOR_A;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI HugeNameSize(UINTN *Size, CHAR16 *, EFI_GUID *) {
  ++gNextNameCalls;
  *Size = 1 << 20;
  return EFI_BUFFER_TOO_SMALL;
}

EFI_STATUS EFIAPI Unterminated(UINTN *Size, CHAR16 *Name, EFI_GUID *) {
  ++gNextNameCalls;
  for (UINTN I = 0; I < *Size / sizeof(CHAR16); ++I) Name[I] = 'U';
  return EFI_SUCCESS;
}

class MisbehavingFirmware : public EnvironmentTest,
                            public ::testing::WithParamInterface<EFI_GET_NEXT_VARIABLE_NAME> {};

TEST_P(MisbehavingFirmware, EnumerationStillEnds) {
  EFI_RUNTIME_SERVICES *Rt = Fw().SystemTable()->RuntimeServices;
  EFI_GET_NEXT_VARIABLE_NAME Original = Rt->GetNextVariableName;
  crt::Shutdown();
  Rt->GetNextVariableName = GetParam();
  gNextNameCalls = 0;
  EFI_STATUS Status = crt::Startup(Image(), Fw().SystemTable());
  Rt->GetNextVariableName = Original;
  EXPECT_EQ(Status, EFI_SUCCESS);
  EXPECT_LE(gNextNameCalls, 100000u);
  EXPECT_EQ(Env("UUUU"), "<unset>");
}

INSTANTIATE_TEST_SUITE_P(Doubles, MisbehavingFirmware,
                         ::testing::Values(SameNameForever, HugeNameSize, Unterminated));

}  // namespace

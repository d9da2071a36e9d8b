// The environment built from firmware variables at Startup.
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr EFI_GUID SHELL_GUID = {0x158DEF5A, 0xF656, 0x419C, {0xB0, 0x27, 0x7A, 0x31, 0x92, 0xC0, 0x79, 0xD2}};
constexpr EFI_GUID VENDOR_A = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
constexpr EFI_GUID VENDOR_B = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
constexpr UINT32 NV_BS = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

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
    Fw().PutVariable(Name, Guid, NV_BS, Data);
  }
};

TEST_F(EnvironmentTest, TextVariablesOfEitherWidthAreVisible) {
  Put(u"TORVEL_PATH", SHELL_GUID, Ucs2(u"fs0:\\tools"));  // as the Shell's `set` stores it
  Put(u"WIDE_NUL", VENDOR_A, Ucs2(std::u16string(u"abc", 4)));
  Put(u"NARROW", VENDOR_A, Narrow("fs1:\\x"));
  Put(u"NARROW_NUL", VENDOR_A, Narrow(std::string("v1", 3)));
  Put(u"SecureBoot", VENDOR_B, {0x00});
  Put(u"BootOrder", VENDOR_B, {0x01, 0x00, 0x02, 0x00});
  Put(u"TABBED", VENDOR_B, Narrow("a\tb"));
  RestartRuntime();

  EXPECT_EQ(Env("TORVEL_PATH"), "fs0:\\tools");
  EXPECT_EQ(Env("WIDE_NUL"), "abc");
  EXPECT_EQ(Env("NARROW"), "fs1:\\x");
  EXPECT_EQ(Env("NARROW_NUL"), "v1");
  EXPECT_EQ(Env("SecureBoot"), "<unset>") << "one zero byte is not text";
  EXPECT_EQ(Env("BootOrder"), "<unset>");
  EXPECT_EQ(Env("TABBED"), "<unset>");
  EXPECT_EQ(Env("torvel_path"), "<unset>") << "names are case-sensitive";
  EXPECT_EQ(crt::getenv(nullptr), nullptr);
}

TEST_F(EnvironmentTest, ShellGuidWinsOverOtherGuids) {
  Put(u"TORVEL_PATH", VENDOR_A, Ucs2(u"fs9:\\vendor"));
  Put(u"TORVEL_PATH", SHELL_GUID, Ucs2(u"fs0:\\shell"));
  Put(u"TORVEL_PATH", VENDOR_B, Ucs2(u"fs9:\\later"));
  Put(u"OTHER", SHELL_GUID, Ucs2(u"shell-first"));
  Put(u"OTHER", VENDOR_A, Ucs2(u"vendor-second"));
  RestartRuntime();
  EXPECT_EQ(Env("TORVEL_PATH"), "fs0:\\shell");
  EXPECT_EQ(Env("OTHER"), "shell-first");
}

TEST_F(EnvironmentTest, FirstEnumeratedWinsAmongOtherGuids) {
  Put(u"DUP", VENDOR_B, Narrow("b"));
  Put(u"DUP", VENDOR_A, Narrow("a"));
  RestartRuntime();
  // Whatever order the firmware enumerates in, the first one seen wins.
  EFI_RUNTIME_SERVICES *Rt = Fw().SystemTable()->RuntimeServices;
  CHAR16 Name[64] = {0};
  EFI_GUID Guid{};
  std::string First;
  for (int Guard = 0; Guard < 1000 && First.empty(); ++Guard) {
    UINTN Size = sizeof(Name);
    if (EFI_ERROR(Rt->GetNextVariableName(&Size, Name, &Guid))) break;
    if (crt::wcscmp(Name, W(u"DUP")) == 0) First = std::memcmp(&Guid, &VENDOR_A, sizeof(Guid)) == 0 ? "a" : "b";
  }
  ASSERT_FALSE(First.empty());
  EXPECT_EQ(Env("DUP"), First);
}

TEST_F(EnvironmentTest, SizeLimitsAndUnusualNames) {
  Put(u"MAX_VALUE", VENDOR_A, Narrow(std::string(4096, 'm')));
  Put(u"TOO_BIG", VENDOR_A, Narrow(std::string(4097, 'b')));
  std::u16string LongName(300, u'L');  // longer than the first name buffer
  Put(LongName, VENDOR_A, Narrow("long"));
  Put(u"WIDE\u0141NAME", VENDOR_A, Narrow("skipped"));
  Put(u"AFTER", VENDOR_A, Narrow("still read"));
  RestartRuntime();
  EXPECT_EQ(Env("MAX_VALUE"), std::string(4096, 'm'));
  EXPECT_EQ(Env("TOO_BIG"), "<unset>");
  EXPECT_EQ(Env(std::string(300, 'L').c_str()), "long");
  EXPECT_EQ(Env("AFTER"), "still read") << "a skipped name does not end the enumeration";
}

TEST_F(EnvironmentTest, EnumerationErrorEndsQuietly) {
  Put(u"ONE", VENDOR_A, Narrow("1"));
  crt::Shutdown();
  Fw().FailNthCall(sim::Service::GetNextVariableName, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::Startup(Image(), Fw().SystemTable()), EFI_SUCCESS);
  EXPECT_EQ(Env("ONE"), "<unset>");
}

TEST_F(EnvironmentTest, OutOfMemoryIsReported) {
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
  Name[0] = 'L';
  Name[1] = 'O';
  Name[2] = 'O';
  Name[3] = 0;
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

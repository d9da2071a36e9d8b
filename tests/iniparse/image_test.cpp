// iniparse.efi as an image: installed on its own handle, one instance per
// boot, resident, and callable with the UEFI convention from C.
#include "tests/iniparse/parser_fixture.h"

extern "C" INT32 LookupFromC(void *Interface, CHAR8 *Section, CHAR8 *Key, CHAR8 *Value, UINT16 ValueSize,
                             CHAR8 *File);

namespace {

TEST_F(ParserTest, InterfaceOnItsOwnHandleIsTheLookup) {
  EXPECT_EQ(Fw().FindProtocol(ParserHandle(), gIniParserProtocolGuid), reinterpret_cast<void *>(Lookup()));
}

TEST_F(ParserTest, SecondLoadFindsItStarted) {
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\tools\\iniparse.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_EQ(Fw().HandlesWith(gIniParserProtocolGuid).size(), 1u);
  EXPECT_FALSE(Fw().IsImageLoaded(Second));
  WriteTools("a.ini", "[S]\nk=1\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1");
}

TEST_F(ParserTest, StaysResident) {
  EXPECT_EQ(Fw().UnloadImage(ParserHandle()), EFI_UNSUPPORTED);
  WriteTools("a.ini", "[S]\nk=1\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1");
}

TEST_F(ParserTest, CallableFromCBuiltWithoutMsAbi) {
  WriteTools("a.ini", "[S]\nk=value\n");
  CHAR8 Section[] = "S", Key[] = "k", File[] = "a.ini";
  CHAR8 Value[16] = {};
  ASSERT_EQ(LookupFromC(reinterpret_cast<void *>(Lookup()), Section, Key, Value, sizeof Value, File),
            INI_LOOKUP_FOUND);
  EXPECT_STREQ(reinterpret_cast<const char *>(Value), "value");
}

TEST_F(ParserImageTest, FailedInstallLeavesNoMemory) {
  const size_t Before = Fw().LivePoolBlocks();
  Fw().FailNthCall(sim::Service::InstallProtocolInterface, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(StartParser(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Fw().LivePoolBlocks(), Before);
  EXPECT_TRUE(Fw().HandlesWith(gIniParserProtocolGuid).empty());
}

}  // namespace

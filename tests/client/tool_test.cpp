// bioscfg-tool as a user meets it: started from the Shell inside the
// simulated machine (as the host tool starts it), printing its lines and
// ending with a status.
#include "tests/client/tool_fixture.h"

namespace {

using bioscfgsim::SimulatedMachine;

using ToolTest = ToolMachine;

TEST_F(ToolTest, GetAndSetPrintTheResultTheTextAndEveryRecord) {
  EXPECT_EQ(Run({"get", "Quiet Boot", "NumLock State at Boot", "Nothing"}),
            (std::vector<std::string>{
                "result: EFI_SUCCESS",
                "record: found=1 type=checkbox value=1 prompt=\"Quiet Boot\" options=0=\"Disabled\",1=\"Enabled\"",
                "record: found=1 type=one-of value=1 prompt=\"NumLock State at Boot\" options=1=\"On\",0=\"Off\"",
                "record: found=0 prompt=\"Nothing\""}));

  // By number, by hexadecimal number, by option text in any case.
  EXPECT_EQ(Run({"set", "Quiet Boot=0", "NumLock State at Boot=off", "Fan PWM Offset=0x10"}),
            (std::vector<std::string>{"result: EFI_SUCCESS", "record: status=1 value=0 prompt=\"Quiet Boot\"",
                                      "record: status=1 value=0 prompt=\"NumLock State at Boot\"",
                                      "record: status=1 value=16 prompt=\"Fan PWM Offset\"",
                                      "change: [Main] \"Quiet Boot\" 1 \"Enabled\" -> 0 \"Disabled\"",
                                      "change: [Main] \"NumLock State at Boot\" 1 \"On\" -> 0 \"Off\"",
                                      "change: [System Acoustics and Performance Configuration] \"Fan PWM Offset\" 0 "
                                      "\"0000\" -> 16 \"0016\"",
                                      "changes: 3"}));
  EXPECT_TRUE(StartsWith(Run({"get", "Fan PWM Offset"})[1],
                         "record: found=1 type=numeric value=16 prompt=\"Fan PWM Offset\""));

  // A refused value: the status by name, the driver's text, the records.
  EXPECT_EQ(Run({"set-form", "Main", "Quiet Boot=1", "POST Error Pause=7"}, BCFG_E_OUT_OF_RANGE),
            (std::vector<std::string>{"result: BCFG_E_OUT_OF_RANGE",
                                      "error: Data for BIOS Var POST Error Pause is out of range",
                                      "record: status=1 value=0 prompt=\"Main\"",
                                      "record: status=1 value=1 prompt=\"Quiet Boot\"",
                                      "record: status=0 value=7 prompt=\"POST Error Pause\"",
                                      "change: [Main] \"Quiet Boot\" 0 \"Disabled\" -> 1 \"Enabled\"",
                                      "refuse: [Main] \"POST Error Pause\" 0 \"Disabled\" -> 7 (not an option: the run "
                                      "stops here)",
                                      "changes: 1"}));
}

TEST_F(ToolTest, OperandsTheToolCannotUseChangeNothing) {
  const std::vector<std::string> Unknown = Run({"set", "System Language=Klingon"}, EFI_INVALID_PARAMETER);
  EXPECT_EQ(Unknown, (std::vector<std::string>{
                         "result: EFI_INVALID_PARAMETER",
                         "error: \"Klingon\" is neither a number nor an option of \"System Language\""}));
  EXPECT_EQ(Run({"set", "Quiet Boot"}, EFI_INVALID_PARAMETER)[1], "error: expected PROMPT=VALUE, not \"Quiet Boot\"");
  EXPECT_EQ(Run({"frobnicate"}, EFI_INVALID_PARAMETER)[0], "error: unknown command \"frobnicate\"");
  EXPECT_EQ(Run({"--loud", "get", "x"}, EFI_INVALID_PARAMETER)[0], "error: unknown option \"--loud\"");
  EXPECT_TRUE(StartsWith(Run({"get"}, EFI_INVALID_PARAMETER)[0], "usage: bioscfg-tool"));
  EXPECT_TRUE(StartsWith(Run({"-h"})[0], "usage: bioscfg-tool"));
  EXPECT_TRUE(StartsWith(Run({"get", "System Language"})[1], "record: found=1 type=one-of value=0 prompt="))
      << "the refused set changed nothing";
}

TEST_F(ToolTest, ThePromptEndsAtTheLastEqualsSign) {
  // No question has '=' in its prompt: the name before the last '=' is sent
  // whole and matches nothing, and the value after it is parsed alone.
  EXPECT_EQ(Run({"set", "A=B=1"}),
            (std::vector<std::string>{"result: EFI_SUCCESS", "record: status=0 value=1 prompt=\"A=B\"", "changes: 0"}));
}

TEST_F(ToolTest, AllLetsGetAndSetReachSuppressedQuestions) {
  EXPECT_EQ(Run({"get", "Baud Rate"})[1], "record: found=0 prompt=\"Baud Rate\"");
  EXPECT_EQ(Run({"--all", "set", "Baud Rate=57.6k"})[1], "record: status=1 value=3 prompt=\"Baud Rate\"");
  EXPECT_TRUE(StartsWith(Run({"--all", "get", "Baud Rate"})[1], "record: found=1 type=one-of value=3 prompt=\"Baud Rate\""));
}

TEST_F(ToolTest, StartedWithoutAShellItSplitsItsLoadOptions) {
  sim::Firmware &Fw = Machine.Firmware();
  EFI_HANDLE Tool = nullptr;
  ASSERT_EQ(Fw.LoadImageFile("fs0:\\tools\\bioscfg-tool.efi", &Tool), EFI_SUCCESS);
  EFI_GUID LoadedImageGuid = LOADED_IMAGE_PROTOCOL;
  EFI_LOADED_IMAGE *Loaded = nullptr;
  ASSERT_EQ(Fw.SystemTable()->BootServices->HandleProtocol(Tool, &LoadedImageGuid, reinterpret_cast<void **>(&Loaded)),
            EFI_SUCCESS);
  std::u16string CommandLine = u"bioscfg-tool.efi  get \"Quiet Boot\"\t\"Wake on \"LAN";
  Loaded->LoadOptions = CommandLine.data();
  Loaded->LoadOptionsSize = static_cast<UINT32>(CommandLine.size() * sizeof(char16_t));  // no NUL counted
  Fw.ClearConsole();
  EXPECT_EQ(Fw.StartImage(Tool), EFI_SUCCESS);
  const std::vector<std::string> Got = Lines(Fw.ConsoleText());
  ASSERT_EQ(Got.size(), 3u) << Fw.ConsoleText();
  EXPECT_TRUE(StartsWith(Got[1], "record: found=1 type=checkbox value=1 prompt=\"Quiet Boot\""));
  EXPECT_TRUE(StartsWith(Got[2], "record: found=1 type=checkbox value=1 prompt=\"Wake on LAN\""));
}

TEST(ToolWithoutDriver, SaysHowToLoadIt) {
  SimulatedMachine Machine;
  std::string Error;
  ASSERT_TRUE(Machine.Start(bioscfgsim::SamplePlatformInput(), MessagesSource(), Error)) << Error;
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  ASSERT_EQ(Machine.Firmware().SystemTable()->BootServices->UninstallProtocolInterface(
                Machine.Firmware().HandlesWith(Guid).at(0), &Guid, Machine.Protocol()),
            EFI_SUCCESS);
  std::string Output;
  EXPECT_EQ(Machine.RunTool({"get", "Quiet Boot"}, Output), EFI_NOT_FOUND);
  EXPECT_NE(Output.find("the bioscfg driver is not loaded"), std::string::npos) << Output;
  EXPECT_NE(Output.find("load -nc fs0:\\tools\\bioscfg.efi"), std::string::npos) << Output;
}

}  // namespace

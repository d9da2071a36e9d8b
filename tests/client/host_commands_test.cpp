// The host tool's commands that run the configuration tool: their output
// is the tool's, their exit status follows its result, and a --variables
// file keeps the changes for the next command.
#include "tools/bioscfg-sim/commands.h"

#include "sim/temp_folder.h"
#include "tests/client/tool_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace bioscfgsim;

struct Outcome {
  int Exit;
  std::string Out;
};

Outcome Invoke(int (*Command)(const Options &, const std::vector<std::string> &), const Options &Opts,
            const std::vector<std::string> &Args) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int Exit = Command(Opts, Args);
  Outcome Result{Exit, testing::internal::GetCapturedStdout()};
  (void)testing::internal::GetCapturedStderr();
  return Result;
}

TEST(HostToolCommands, ChangesPersistInTheVariablesFileAndExitStatusFollowsTheResult) {
  sim::TempFolder Folder("bioscfg-sim-test");
  Options Opts;
  Opts.MessagesPath = MessagesSource();
  Opts.VariablesPath = Folder.Path() + "/variables.txt";
  ASSERT_FALSE(std::filesystem::exists(Opts.VariablesPath));

  // A file that does not exist yet starts from the platform's defaults.
  Outcome Set = Invoke(RunSetCommand, Opts, {"Quiet Boot=Disabled"});
  EXPECT_EQ(Set.Exit, 0) << Set.Out;
  ASSERT_TRUE(std::filesystem::exists(Opts.VariablesPath));
  Outcome Get = Invoke(RunGetCommand, Opts, {"Quiet Boot", "Wake on LAN"});
  EXPECT_NE(Get.Out.find("found=1 type=checkbox value=0 prompt=\"Quiet Boot\""), std::string::npos) << Get.Out;
  EXPECT_NE(Get.Out.find("found=1 type=checkbox value=1 prompt=\"Wake on LAN\""), std::string::npos) << Get.Out;

  // A refused value: exit status 1, nothing changes.
  Outcome Refused = Invoke(RunSetFormCommand, Opts, {"Main", "Quiet Boot=5"});
  EXPECT_EQ(Refused.Exit, 1);
  EXPECT_EQ(Refused.Out.rfind("result: BCFG_E_OUT_OF_RANGE", 0), 0u) << Refused.Out;
  EXPECT_NE(Invoke(RunGetCommand, Opts, {"Quiet Boot"}).Out.find("value=0"), std::string::npos);

  // --all-questions reaches a suppressed question.
  Options All = Opts;
  All.AllQuestions = true;
  EXPECT_NE(Invoke(RunGetCommand, All, {"Baud Rate"}).Out.find("found=1"), std::string::npos);
  EXPECT_NE(Invoke(RunGetCommand, Opts, {"Baud Rate"}).Out.find("found=0"), std::string::npos);

  // Without --variables nothing is kept.
  Options Fleeting;
  Fleeting.MessagesPath = MessagesSource();
  EXPECT_EQ(Invoke(RunSetCommand, Fleeting, {"Quiet Boot=0"}).Exit, 0);
  EXPECT_NE(Invoke(RunGetCommand, Fleeting, {"Quiet Boot"}).Out.find("value=1"), std::string::npos);
}

}  // namespace

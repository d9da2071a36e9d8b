// ToolMachine: the sample platform with the driver running, and the tool
// started inside it as the host tool starts it; its output in lines.
#pragma once

#include "tools/bioscfg-sim/simulated_machine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// The tree's message catalog source.
inline std::string MessagesSource() {
  return (std::filesystem::path(BIOSCFG_SOURCE_DIR) / "messages" / "bioscfg.messages").string();
}

inline std::vector<std::string> Lines(const std::string &Text) {
  std::vector<std::string> Out;
  std::istringstream In(Text);
  for (std::string Line; std::getline(In, Line);) Out.push_back(Line);
  return Out;
}

inline bool StartsWith(const std::string &Text, const std::string &Start) { return Text.rfind(Start, 0) == 0; }

class ToolMachine : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string Error;
    ASSERT_TRUE(Machine.Start(bioscfgsim::SamplePlatformInput(), MessagesSource(), Error)) << Error;
  }
  // Runs the tool; its lines.
  std::vector<std::string> Run(const std::vector<std::string> &Arguments, EFI_STATUS Expected = EFI_SUCCESS) {
    std::string Output;
    EXPECT_EQ(Machine.RunTool(Arguments, Output), Expected) << Output;
    return Lines(Output);
  }
  // A file in the tool's folder, read or written whole.
  std::string Read(const std::string &Name) {
    std::ifstream In(std::filesystem::path(Machine.ToolsFolder()) / Name, std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    return Text.str();
  }
  void Write(const std::string &Name, const std::string &Text) {
    std::ofstream(std::filesystem::path(Machine.ToolsFolder()) / Name, std::ios::binary) << Text;
  }
  bioscfgsim::SimulatedMachine Machine;
};

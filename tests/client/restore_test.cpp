// Snapshots and restore: a load that reshaped the forms and changed
// questions that were hidden when the snapshot was taken is undone byte for
// byte; a snapshot that does not fit the machine writes nothing.
#include "tests/client/tool_fixture.h"

#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

class Restore : public ToolMachine {
 protected:
  std::vector<std::vector<uint8_t>> Bytes() {
    std::vector<std::vector<uint8_t>> All;
    for (const auto &V : Machine.CurrentVariables()) All.push_back(V.Data);
    return All;
  }
  // The saved file with Console Redirection on and Baud Rate (there only
  // once it is on) set behind it.
  std::string Reshaping() {
    EXPECT_EQ(Run({"save", "cfg.ini"})[0], "result: EFI_SUCCESS");
    std::string Text = Read("cfg.ini");
    const size_t At = Text.find("\nConsole Redirection=0");
    Text.replace(At, 22, "\nConsole Redirection=1\nBaud Rate=2");
    return Text;
  }
};

TEST_F(Restore, ARestoreUndoesAReshapingLoadByteForByte) {
  Write("cfg.ini", Reshaping());
  const auto Before = Bytes();
  const std::vector<std::string> Loaded = Run({"load", "cfg.ini"});
  ASSERT_GE(Loaded.size(), 4u);
  EXPECT_EQ(Loaded[2], "restore: bioscfg-tool restore cfg-backup-1.vars");
  EXPECT_NE(Bytes(), Before);
  // The INI backup cannot undo it: Baud Rate was hidden when it was saved.
  (void)Run({"load", "--no-backup", "cfg-backup-1.ini"});
  EXPECT_NE(Bytes(), Before) << "Baud Rate stays changed";

  const std::vector<std::string> Restored = Run({"restore", "cfg-backup-1.vars"});
  EXPECT_EQ(Restored.front(), "result: EFI_SUCCESS");
  EXPECT_EQ(Restored.back(), "unchanged: 4");
  EXPECT_EQ(Bytes(), Before);
  // Restoring again finds nothing to write.
  EXPECT_EQ(Run({"restore", "cfg-backup-1.vars"}),
            (std::vector<std::string>{"result: EFI_SUCCESS", "unchanged: 5"}));
}

TEST_F(Restore, SetWithBackupKeepsASnapshotToo) {
  const auto Before = Bytes();
  const std::vector<std::string> Set = Run({"set", "--backup", "Quiet Boot=0"});
  ASSERT_GE(Set.size(), 3u);
  EXPECT_EQ(Set[0], "backup: settings-backup-1.ini");
  EXPECT_EQ(Set[1], "snapshot: settings-backup-1.vars");
  EXPECT_NE(Bytes(), Before);
  EXPECT_EQ(Run({"restore", "settings-backup-1.vars"})[0], "result: EFI_SUCCESS");
  EXPECT_EQ(Bytes(), Before);
}

TEST_F(Restore, ASnapshotThatDoesNotFitWritesNothing) {
  (void)Run({"set", "--backup", "Quiet Boot=0"});
  const std::string Snapshot = Read("settings-backup-1.vars");
  const auto Changed = Bytes();
  struct Case {
    const char *What;
    std::string Text;
    EFI_STATUS Status;
    std::string Error;
  };
  // The first Setup line with its name changed, its last byte dropped, its
  // attributes changed, or its GUID broken.
  const size_t Line = Snapshot.find("\nSetup ") + 1;
  const size_t End = Snapshot.find('\n', Line);
  std::string Missing = Snapshot, Shorter = Snapshot, Attributes = Snapshot, Broken = Snapshot;
  Missing.replace(Line, 5, "Setuq");
  Shorter.erase(End - 2, 2);
  Attributes.replace(Snapshot.find(" 0x7 ", Line), 5, " 0x3 ");
  Broken.replace(Snapshot.find('{', Line) + 1, 1, "Z");
  const Case Cases[] = {
      {"missing", Missing, EFI_NOT_FOUND, "this machine has no such variable"},
      {"size", Shorter, EFI_BAD_BUFFER_SIZE, "its size here differs from the snapshot's"},
      {"attributes", Attributes, EFI_INVALID_PARAMETER, "its attributes here differ from the snapshot's"},
      {"bad text", Broken, EFI_INVALID_PARAMETER, "line"},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.What);
    Write("bad.vars", C.Text);
    const std::vector<std::string> Out = Run({"restore", "bad.vars"}, C.Status);
    bool Named = false;
    for (const std::string &L : Out) Named = Named || L.find(C.Error) != std::string::npos;
    EXPECT_TRUE(Named) << ::testing::PrintToString(Out);
    EXPECT_NE(Out.back().find("nothing was written"), std::string::npos);
    EXPECT_EQ(Bytes(), Changed);
  }
  EXPECT_EQ(Run({"restore", "none.vars"}, EFI_NOT_FOUND)[0], "result: EFI_NOT_FOUND");
}

}  // namespace

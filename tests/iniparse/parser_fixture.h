// The parser image in a fresh simulated platform, asked as the driver asks.
//
// ParserImageTest: SimTest's platform (fs0: with an empty "tools" folder),
// TORVEL_PATH = "fs0:\tools" stored as the Shell's `set` stores it, and
// iniparse.efi registered; StartParser() loads it from fs0:\tools through
// LoadImage/StartImage and finds its protocol by GUID. ParserTest starts it
// in SetUp. TearDown releases what the resident image still holds (firmware
// would at the end of boot services) before SimTest's leak check.
#pragma once

#include "inicontract/ini_parser_protocol.h"
#include "tests/support/sim_fixture.h"

#include <string>

class ParserImageTest : public SimTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Load + start of fs0:\tools\iniparse.efi; on success the lookup is found.
  EFI_STATUS StartParser();
  void SetTorvelPath(const std::u16string &Value);
  void RemoveTorvelPath();

  struct Answer {
    INT32 Result;
    std::string Value;
  };
  // One lookup through the protocol, with a value buffer of exactly
  // ValueSize bytes. Checks what the protocol promises about the buffers:
  // AuxText untouched; nothing written unless FOUND, and then the value and
  // its NUL only.
  Answer Ask(const std::string &File, const std::string &Section, const std::string &Key, UINT16 ValueSize = 128);

  // Host path of a file in fs0:\tools; writes Text there (replacing it).
  std::string ToolsPath(const std::string &Name);
  void WriteTools(const std::string &Name, const std::string &Text);
  static void WriteHostFile(const std::string &Path, const std::string &Text);

  // After a lookup that failed, the image holds no file: its pool blocks are
  // back to what it held right after it started.
  void ExpectNothingHeld();

  INI_PARSER_LOOKUP Lookup() const { return Lookup_; }
  EFI_HANDLE ParserHandle() const { return Handle_; }

 private:
  INI_PARSER_LOOKUP Lookup_ = nullptr;
  EFI_HANDLE Handle_ = nullptr;
  bool Started_ = false;
  size_t IdleBlocks_ = 0;
};

class ParserTest : public ParserImageTest {
 protected:
  void SetUp() override;
};

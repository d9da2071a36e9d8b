// The join of TORVEL_PATH and an INI file name, shared by the driver's
// export and the parser image.
#include "inicontract/ini_file_path.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::INI_FILE_PATH_MAX;
using inicontract::JoinIniFilePath;

namespace {

struct JoinCase {
  const char *Name;
  std::optional<std::string> Directory;  // nullopt: no TORVEL_PATH at all
  std::optional<std::string> FileName;
  std::optional<std::string> Joined;     // nullopt: refused
};

void PrintTo(const JoinCase &C, std::ostream *Out) { *Out << C.Name; }

class JoinTest : public ::testing::TestWithParam<JoinCase> {};

TEST_P(JoinTest, JoinsOrRefuses) {
  const JoinCase &C = GetParam();
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  std::memset(Path, 'x', sizeof Path);
  const bool Joined = JoinIniFilePath(C.Directory ? C.Directory->c_str() : nullptr,
                                      C.FileName ? C.FileName->c_str() : nullptr, Path);
  ASSERT_EQ(Joined, C.Joined.has_value());
  EXPECT_EQ(std::string(Path), C.Joined.value_or("")) << "a refused join leaves an empty path";
}

std::string Repeat(char C, size_t Count) { return std::string(Count, C); }

INSTANTIATE_TEST_SUITE_P(
    IniFilePath, JoinTest,
    ::testing::Values(
        JoinCase{"OneSeparatorAdded", "fs0:\\tools", "a.ini", "fs0:\\tools\\a.ini"},
        JoinCase{"TrailingSeparatorKept", "fs0:\\tools\\", "a.ini", "fs0:\\tools\\a.ini"},
        JoinCase{"VolumeRoot", "fs0:\\", "a.ini", "fs0:\\a.ini"},
        JoinCase{"NameWithFolders", "fs0:\\tools", "cfg\\b.ini", "fs0:\\tools\\cfg\\b.ini"},
        // The test counts one separator whether it is added or not.
        JoinCase{"ExactlyAtLimit", Repeat('d', 243), "iniparse.efi", Repeat('d', 243) + "\\iniparse.efi"},
        JoinCase{"OneOverLimit", Repeat('d', 244), "iniparse.efi", std::nullopt},
        JoinCase{"AtLimitWithOwnSeparator", Repeat('d', 242) + "\\", "iniparse.efi",
                 Repeat('d', 242) + "\\iniparse.efi"},
        JoinCase{"OverLimitWithOwnSeparator", Repeat('d', 243) + "\\", "iniparse.efi", std::nullopt},
        JoinCase{"LongName", "d", Repeat('n', 254), "d\\" + Repeat('n', 254)},
        JoinCase{"LongNameOver", "d", Repeat('n', 255), std::nullopt},
        JoinCase{"EmptyDirectory", "", "a.ini", std::nullopt},
        JoinCase{"NoDirectory", std::nullopt, "a.ini", std::nullopt},
        JoinCase{"EmptyName", "fs0:\\tools", "", std::nullopt},
        JoinCase{"NoName", "fs0:\\tools", std::nullopt, std::nullopt}),
    [](const auto &Info) { return std::string(Info.param.Name); });

// Texts without a NUL anywhere near: the join reads no further than the
// longest path it could accept (AddressSanitizer watches the buffers).
TEST(IniFilePathBounds, UnterminatedTextsAreNotReadPastTheLimit) {
  std::vector<char> Long(INI_FILE_PATH_MAX + 1, 'a');
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  EXPECT_FALSE(JoinIniFilePath(Long.data(), "a.ini", Path));
  EXPECT_FALSE(JoinIniFilePath("fs0:", Long.data(), Path));
}

}  // namespace

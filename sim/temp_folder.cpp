#include "sim/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace sim {

TempFolder::TempFolder(const std::string &Prefix) {
  std::error_code Error;
  std::filesystem::path Base = std::filesystem::temp_directory_path(Error);
  if (Error) Base = "/tmp";
  std::string Pattern = (Base / (Prefix + "-XXXXXX")).string();
  if (mkdtemp(Pattern.data()) != nullptr) Path_ = Pattern;
}

TempFolder::~TempFolder() {
  if (Path_.empty()) return;
  std::error_code Ignored;
  std::filesystem::remove_all(Path_, Ignored);
}

}  // namespace sim

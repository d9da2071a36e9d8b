// A fresh folder under the host's temporary directory, removed with
// everything in it when its owner goes: the backing store of a simulated
// volume for tests, tools, benchmarks and fuzzers.
#pragma once

#include <string>

namespace sim {

class TempFolder {
 public:
  explicit TempFolder(const std::string &Prefix = "bioscfg");
  ~TempFolder();
  TempFolder(const TempFolder &) = delete;
  TempFolder &operator=(const TempFolder &) = delete;

  // Empty when the folder could not be made.
  const std::string &Path() const { return Path_; }

 private:
  std::string Path_;
};

}  // namespace sim

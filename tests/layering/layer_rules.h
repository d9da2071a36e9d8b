// The order of the tree's layers, written down once: every include must point
// to the including file's own folder or to a layer below it. The README's
// layout section shows the same table; a test keeps the two in step.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace layering {

// What a layer's files may include besides their own folder.
enum class Reach {
  Below,            // every layer below it
  GroundAndShared,  // the ground and the shared libraries only: an image of its own
  GroundOnly,       // the ground only: the simulated firmware knows UEFI, not our images
  Anything,         // checks
};

struct Layer {
  std::string Name;
  std::vector<std::string> Folders;  // top-level folders
  Reach Includes = Reach::Below;
  // Product code that runs in a UEFI image: only freestanding system headers.
  bool Freestanding = false;
  // Folders of the layer may include each other (the ground's headers do).
  bool Mutual = false;
};

// From the ground up; folders of one layer include each other only where
// the layer says so.
const std::vector<Layer> &Layers();

struct Violation {
  std::string File;     // relative to the root
  int Line = 0;
  std::string Include;  // as written
  std::string Reason;
};

// Every include of every C and C++ file under Root (build folders and hidden
// folders left out) that breaks the order.
std::vector<Violation> CheckTree(const std::filesystem::path &Root);

// The table as the README shows it: one Markdown row per layer, ground first.
std::string LayerTableMarkdown();

}  // namespace layering

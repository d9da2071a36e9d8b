// Compiled with the tool's runtime namespace (crt=tool_crt, see
// CMakeLists.txt): the tool keeps no state of its own beyond its runtime, so
// resetting that runtime copy is what gives it fresh image data.
#include "simimages/images.h"

#include "client/tool_main.h"
#include "runtime/crt.h"

namespace simimages {

sim::ImageDescriptor ToolImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "bioscfg-tool.efi";
  Image.Entry = ToolMain;
  Image.ResetState = crt::ResetState;
  Image.DataType = EfiLoaderData;
  return Image;
}

}  // namespace simimages

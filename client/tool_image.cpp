#include "client/tool_image.h"

#include "client/tool_main.h"
#include "runtime/crt.h"

namespace sim {

ImageDescriptor ToolImage() {
  ImageDescriptor Image;
  Image.FileName = "bioscfg-tool.efi";
  Image.Entry = ToolMain;
  Image.ResetState = crt::ResetState;
  Image.DataType = EfiLoaderData;
  return Image;
}

}  // namespace sim

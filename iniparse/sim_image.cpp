#include "iniparse/sim_image.h"

#include "iniparse/image_entry.h"

namespace sim {

ImageDescriptor IniparseImage() {
  ImageDescriptor Image;
  Image.FileName = "iniparse.efi";
  Image.Entry = iniparse::IniParserEntry;
  Image.ResetState = iniparse::ResetImageState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace sim

#include "simimages/images.h"

#include "iniparse/image_entry.h"

namespace simimages {

sim::ImageDescriptor IniparseImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "iniparse.efi";
  Image.Entry = iniparse::IniParserEntry;
  Image.ResetState = iniparse::ResetImageState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace simimages

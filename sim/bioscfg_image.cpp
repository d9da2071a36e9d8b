#include "sim/bioscfg_image.h"

#include "driver/driver_entry.h"
#include "driver/image_state.h"

namespace sim {

ImageDescriptor BioscfgImage() {
  ImageDescriptor Image;
  Image.FileName = "bioscfg.efi";
  Image.Entry = DriverEntry;
  Image.ResetState = ResetImageState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace sim

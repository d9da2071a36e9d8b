#include "simimages/images.h"

#include "driver/driver_entry.h"
#include "driver/image_state.h"

namespace simimages {

sim::ImageDescriptor BioscfgImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "bioscfg.efi";
  Image.Entry = DriverEntry;
  Image.ResetState = ResetImageState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace simimages

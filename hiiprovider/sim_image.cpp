#include "hiiprovider/sim_image.h"

#include "hiiprovider/provider_entry.h"
#include "hiiprovider/provider_state.h"

namespace hiiprovider {

sim::ImageDescriptor HiiProviderImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "hiiprovider.efi";
  Image.Entry = ProviderEntry;
  Image.ResetState = ResetProviderState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace hiiprovider

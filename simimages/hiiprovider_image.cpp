#include "simimages/images.h"

#include "hiiprovider/provider_entry.h"
#include "hiiprovider/provider_state.h"

namespace simimages {

sim::ImageDescriptor HiiProviderImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "hiiprovider.efi";
  Image.Entry = hiiprovider::ProviderEntry;
  Image.ResetState = hiiprovider::ResetProviderState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace simimages

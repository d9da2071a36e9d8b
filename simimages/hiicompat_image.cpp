#include "simimages/images.h"

#include "hiicompat/compat_entry.h"
#include "hiicompat/compat_state.h"

namespace simimages {

sim::ImageDescriptor HiiCompatImage() {
  sim::ImageDescriptor Image;
  Image.FileName = "hiicompat.efi";
  Image.Entry = hiicompat::CompatEntry;
  Image.ResetState = hiicompat::ResetCompatState;
  Image.DataType = EfiBootServicesData;
  return Image;
}

}  // namespace simimages

#include "hiiprovider/provider_state.h"

#include "runtime/crt.h"

namespace hiiprovider {

constinit ProviderState gProvider{};

void ResetProviderState() {
  gProvider = ProviderState{};
  crt::ResetState();
}

}  // namespace hiiprovider

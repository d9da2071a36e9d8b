#include "hiicompat/compat_state.h"

#include "runtime/crt.h"

namespace hiicompat {

constinit CompatState gCompat{};

void ResetCompatState() {
  // The list's memory belonged to the runtime heap that ResetState forgets;
  // it is not freed here, only dropped, as a fresh image would have none.
  gCompat.Database = nullptr;
  gCompat.Routing = nullptr;
  gCompat.RootBridge = nullptr;
  gCompat.RootBridgeHandle = nullptr;
  gCompat.OriginalGetVariable = nullptr;
  gCompat.OriginalSetVariable = nullptr;
  gCompat.VariablesWrapped = FALSE;
  gCompat.ExitBootServicesEvent = nullptr;
  gCompat.HiiInstalled = FALSE;
  gCompat.DeviceIoInstalled = FALSE;
  gCompat.Bridged.Forget();
  crt::ResetState();
}

}  // namespace hiicompat

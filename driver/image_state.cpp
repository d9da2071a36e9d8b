#include "driver/image_state.h"

#include "runtime/crt.h"

constinit DriverImageState gImage = LoadTimeImageState();

void ResetImageState() {
  gImage = LoadTimeImageState();
  crt::ResetState();
}

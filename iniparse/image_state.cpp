#include "iniparse/image_state.h"

#include "iniparse/image_entry.h"
#include "runtime/crt.h"

namespace iniparse {

constinit ParserImageState gParser{};

void ResetImageState() {
  gParser = ParserImageState{};
  crt::ResetState();
}

}  // namespace iniparse

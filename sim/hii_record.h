// One installed Framework HII interface record.
#pragma once

#include "sim/framework_hii.h"

namespace sim {

struct HiiRecord {
  SIM_FRAMEWORK_HII_PROTOCOL Protocol;  // first: callers hold &Protocol
  EFI_GUID Guid;
};

}  // namespace sim

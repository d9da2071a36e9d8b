// The Framework HII layouts now live with the export builder.
#pragma once

#include "hiibuild/framework_hii.h"

#include "settings/reload_flags.h"

constinit ReloadFlags gReloadFlags = LoadTimeReloadFlags();

void ResetReloadFlags() { gReloadFlags = LoadTimeReloadFlags(); }

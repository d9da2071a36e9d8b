// The three change operations as runs, shared by the two protocols.
#pragma once

#include "driver/change_run.h"

ChangeRun SetSettingsRun(BIOS_SETTING_VALUE *Values, const BIOS_CONFIG_RUN *Client);
ChangeRun SetFormSettingsRun(BIOS_SETTING_VALUE *Values, const BIOS_CONFIG_RUN *Client);
ChangeRun LoadSettingsFromIniRun(const char *IniFileName, const BIOS_CONFIG_RUN *Client);

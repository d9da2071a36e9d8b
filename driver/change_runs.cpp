#include "driver/change_runs.h"

#include "ini/ini_access.h"
#include "settings/settings_access.h"

namespace {

EFI_STATUS SetSettingsPass(SettingsEngine &Engine, void *Values) {
  return SetSettings(Engine, static_cast<BIOS_SETTING_VALUE *>(Values));
}
EFI_STATUS SetFormSettingsPass(SettingsEngine &Engine, void *Values) {
  return SetFormSettings(Engine, static_cast<BIOS_SETTING_VALUE *>(Values));
}
EFI_STATUS ImportIniPass(SettingsEngine &Engine, void *IniFileName) {
  return ReadBiosSection(Engine, static_cast<const char *>(IniFileName));
}

}  // namespace

ChangeRun SetSettingsRun(BIOS_SETTING_VALUE *Values, const BIOS_CONFIG_RUN *Client) {
  return ChangeRun{ChangeWork::SetSettings, SetSettingsPass, Values, false, Client};
}

ChangeRun SetFormSettingsRun(BIOS_SETTING_VALUE *Values, const BIOS_CONFIG_RUN *Client) {
  return ChangeRun{ChangeWork::SetFormSettings, SetFormSettingsPass, Values, true, Client};
}

ChangeRun LoadSettingsFromIniRun(const char *IniFileName, const BIOS_CONFIG_RUN *Client) {
  return ChangeRun{ChangeWork::LoadSettingsFromIni, ImportIniPass, const_cast<char *>(IniFileName), true, Client};
}

// The three form sets and the assembled platform.
#include "platform/setup_form_writer.h"

#include "hiibuild/host/byte_writer.h"

#include <memory>

namespace platform {

using hiibuild::Text;

static PlatformVariable Finish(const VariableLayout &Layout) {
  return PlatformVariable{Layout.Name, Layout.Guid, SAMPLE_VARIABLE_ATTRIBUTES, Layout.Image.Data()};
}

void WriteSetupFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform) {
  VariableLayout Setup(u"Setup", gSampleSetupFormSetGuid, 1, 512);
  VariableLayout Memory(u"MemoryConfig", gSampleMemoryConfigGuid, 2, 128);
  VariableLayout Io(u"IoConfig", gSampleIoConfigGuid, 3, 256);

  hiibuild::DataTableBuilder &Table = Export.AddTable(gSampleSetupFormSetGuid, {"eng", "fra"});
  Table.VariablePack(Setup.Guid, Setup.VarStoreId, Setup.Name)
      .VariablePack(Memory.Guid, Memory.VarStoreId, Memory.Name)
      .VariablePack(Io.Guid, Io.VarStoreId, Io.Name);
  hiibuild::IfrBuilder &Ifr = Table.Ifr();
  Ifr.FormSet(gSampleSetupFormSetGuid, Text(u"Setup", {{"fra", u"Configuration"}}), {}, 1, 0,
              static_cast<uint16_t>(Setup.Image.Size()));
  for (const VariableLayout *L : {&Setup, &Memory, &Io})
    Ifr.VarStore(L->Guid, L->VarStoreId, static_cast<uint16_t>(L->Image.Size()),
                 std::string(L->Name.begin(), L->Name.end()));

  SetupFormWriter W(Ifr, Platform);
  W.Use(Setup);
  SetupVariables V{Setup, Memory, Io};
  WriteMainAndAdvancedForms(W);
  WriteProcessorAndMemoryForms(W, V);
  WriteDeviceForms(W, V);
  WriteSecurityForm(W, V);
  Ifr.EndFormSet();

  Platform.FormSetGuids.push_back(gSampleSetupFormSetGuid);
  for (const VariableLayout *L : {&Setup, &Memory, &Io}) Platform.Variables.push_back(Finish(*L));
}

// No variable packs: every question uses "Setup" under this form set's GUID.
void WriteServerManagementFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform) {
  VariableLayout Server(u"Setup", gSampleServerMgmtFormSetGuid, 0, 128);
  hiibuild::DataTableBuilder &Table = Export.AddTable(gSampleServerMgmtFormSetGuid, {"eng", "fra"});
  hiibuild::IfrBuilder &Ifr = Table.Ifr();
  Ifr.FormSet(gSampleServerMgmtFormSetGuid, u"Server Management");
  SetupFormWriter W(Ifr, Platform);
  W.Use(Server, false);

  W.Form(4, Text(u"Server Management", {{"fra", u"Gestion du serveur"}}));
  Ifr.Ref(41, u"Console Redirection").Ref(5, u"Hardware Monitor");
  W.EnabledDisabled(u"Assert NMI on SERR", true);
  W.EnabledDisabled(u"Assert NMI on PERR", true);
  W.CheckBox(u"Clear System Event Log", false);
  W.EnabledDisabled(u"FRB-2 Enable", true);
  QuestionRef OsWatchdog = W.EnabledDisabled(u"O/S Boot Watchdog Timer", false);
  W.SuppressIfEqual(OsWatchdog, 0);
  W.OneOf(u"O/S Boot Watchdog Timer Policy", {{u"Power off", 0}, {u"Reset", 1}}, 1);
  W.EndIf();
  W.SuppressIfEqual(OsWatchdog, 0);
  W.OneOf(u"O/S Boot Watchdog Timer Timeout",
          {{u"5 minutes", 0}, {u"10 minutes", 1}, {u"15 minutes", 2}, {u"20 minutes", 3}}, 1);
  W.EndIf();
  W.EnabledDisabled(u"Plug & Play BMC Detection", false);
  W.EnabledDisabled(u"EuP LOT6 Off-Mode", false);
  W.EndForm();

  // Console Redirection reshapes its form: the terminal settings exist only
  // while a port is chosen.
  W.Form(41, Text(u"Console Redirection", {{"fra", u"Redirection de la console"}}));
  QuestionRef Redirection = W.OneOf(Text(u"Console Redirection", {{"fra", u"Redirection de la console"}}),
                                    {{u"Disabled", 0}, {u"Serial Port A", 1}, {u"Serial Port B", 2}}, 0);
  auto Dependant = [&](const Text &Prompt, const std::vector<hiibuild::OptionEntry> &Options, uint16_t Default) {
    W.SuppressIfEqual(Redirection, 0);
    W.OneOf(Prompt, Options, Default);
    W.EndIf();
  };
  Dependant(u"Flow Control", {{u"None", 0}, {u"RTS/CTS", 1}}, 0);
  Dependant(u"Baud Rate", {{u"9.6k", 0}, {u"19.2k", 1}, {u"38.4k", 2}, {u"57.6k", 3}, {u"115.2k", 4}}, 4);
  Dependant(u"Terminal Type", {{u"PC-ANSI", 0}, {u"VT100", 1}, {u"VT100+", 2}, {u"VT-UTF8", 3}}, 2);
  Dependant(u"Legacy OS Redirection", DisabledEnabledOptions(), 0);
  Dependant(u"Terminal Resolution", {{u"80x24", 0}, {u"100x31", 1}}, 0);
  Dependant(u"Data Bits", {{u"7", 7}, {u"8", 8}}, 8);
  Dependant(u"Parity", {{u"None", 0}, {u"Even", 1}, {u"Odd", 2}}, 0);
  Dependant(u"Stop Bits", {{u"1", 0}, {u"2", 1}}, 0);
  W.EndForm();

  W.Form(5, Text(u"Hardware Monitor", {{"fra", u"Surveillance du materiel"}}));
  Ifr.Subtitle(u"Temperatures")
      .TextItem(u"CPU 1 Temperature", u"41 C")
      .TextItem(u"System Temperature", u"28 C");
  W.Numeric(u"CPU Temperature Warning Threshold", 1, {.Minimum = 70, .Maximum = 100, .Step = 5, .Default = 90});
  W.Numeric(u"System Temperature Warning Threshold", 1, {.Minimum = 40, .Maximum = 80, .Step = 5, .Default = 60});
  W.CheckBox(u"Fan Speed Monitoring", true);
  W.CheckBox(u"Voltage Monitoring", true);
  W.OneOf(u"Chassis Intrusion Detection", {{u"Disabled", 0}, {u"Enabled", 1}, {u"Reset", 2}}, 1);
  W.OneOf(u"Power Supply Redundancy", {{u"Redundant", 0}, {u"Non-Redundant", 1}}, 0);
  W.Numeric(u"Fan Failure Shutdown Delay", 2, {.Minimum = 0, .Maximum = 600, .Step = 0, .Default = 60});
  W.EndForm();
  Ifr.EndFormSet();

  Platform.FormSetGuids.push_back(gSampleServerMgmtFormSetGuid);
  Platform.Variables.push_back(Finish(Server));
}

// Boot, Boot Manager and Error Manager are not part of the saved settings.
// Their string packs list French first, so "eng" must be searched for.
void WriteBootFormSet(hiibuild::ExportBuilder &Export, SamplePlatform &Platform) {
  VariableLayout Boot(u"BootConfig", gSampleBootFormSetGuid, 1, 64);
  hiibuild::DataTableBuilder &Table = Export.AddTable(gSampleBootFormSetGuid, {"fra", "eng"});
  Table.VariablePack(Boot.Guid, Boot.VarStoreId, Boot.Name);
  hiibuild::IfrBuilder &Ifr = Table.Ifr();
  Ifr.FormSet(gSampleBootFormSetGuid, u"Boot Maintenance");
  Ifr.VarStore(Boot.Guid, Boot.VarStoreId, static_cast<uint16_t>(Boot.Image.Size()), "BootConfig");
  SetupFormWriter W(Ifr, Platform);
  W.Use(Boot, false);

  W.Form(6, Text(u"Boot Options", {{"fra", u"Options de demarrage"}}));
  W.Numeric(u"Boot Timeout", 2, {.Minimum = 0, .Maximum = 65535, .Step = 0, .Default = 5});
  W.OneOf(u"Boot Mode", {{u"UEFI", 0}, {u"Legacy", 1}, {u"Dual", 2}}, 0);
  W.CheckBox(u"Retry Boot List", true);
  W.EnabledDisabled(u"Network Boot", true);
  // The quick-boot path is not offered on the setup screen; tools still
  // reach it.
  Ifr.SuppressIf().EqIdId(0, 1, 0);
  W.EnabledDisabled(u"Vexon Swift Boot", false);
  Ifr.EndIf();
  // The boot order list carries options of its own, which belong to no
  // recorded question.
  uint16_t OrderOffset = Boot.Reserve(4);
  Ifr.OrderedList(OrderOffset, 4, u"Boot Order")
      .Option(u"Hard Disk", 1)
      .Option(u"Network", 2)
      .Option(u"USB", 3)
      .Option(u"EFI Shell", 4)
      .EndOneOf();
  for (uint8_t I = 0; I < 4; ++I) Boot.Image.Set(OrderOffset + I, 1, I + 1u);
  W.OneOf(u"USB Boot Priority", {{u"Last", 0}, {u"First", 1}}, 0);
  W.EndForm();

  W.Form(7, Text(u"Boot Manager", {{"fra", u"Gestionnaire de demarrage"}}));
  Ifr.Label(0x1000).TextItem(u"Launch EFI Shell").TextItem(u"Reset System").Label(0x1001);
  W.EndForm();

  W.Form(8, Text(u"Error Manager", {{"fra", u"Gestionnaire d'erreurs"}}));
  Ifr.Subtitle(u"No errors logged");
  W.EndForm();
  Ifr.EndFormSet();

  Platform.FormSetGuids.push_back(gSampleBootFormSetGuid);
  Platform.Variables.push_back(Finish(Boot));
}

static std::unique_ptr<SamplePlatform> BuildSample() {
  auto Platform = std::make_unique<SamplePlatform>();
  hiibuild::ExportBuilder Export;
  WriteSetupFormSet(Export, *Platform);
  WriteServerManagementFormSet(Export, *Platform);
  WriteBootFormSet(Export, *Platform);
  Platform->Export = Export.Build();
  Platform->HiiProtocolGuid = Export.ProtocolGuid();
  return Platform;
}

const SamplePlatform &Sample() {
  static const std::unique_ptr<SamplePlatform> Built = BuildSample();
  return *Built;
}

const PlatformVariable *FindSampleVariable(const std::u16string &Name, const EFI_GUID &Guid) {
  for (const PlatformVariable &V : Sample().Variables)
    if (V.Name == Name && hiibuild::GuidsEqual(V.Guid, Guid)) return &V;
  return nullptr;
}

const PlatformQuestion *FindSampleQuestion(const std::u16string &Prompt, uint16_t FormId) {
  for (const PlatformQuestion &Q : Sample().Questions)
    if (Q.Prompt == Prompt && Q.FormId == FormId) return &Q;
  return nullptr;
}

}  // namespace platform

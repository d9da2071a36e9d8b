// Main and the top of Advanced.
#include "platform/setup_form_writer.h"

namespace platform {

using hiibuild::Text;

void WriteMainAndAdvancedForms(SetupFormWriter &W) {
  hiibuild::IfrBuilder &Ifr = W.Code();

  W.Form(1, Text(u"Main", {{"fra", u"Principal"}}));
  Ifr.Subtitle(u"System Information")
      .TextItem(u"BIOS Version", u"R01.02.0003")
      .TextItem(u"Build Date", u"06/14/2019")
      .TextItem(u"Total Memory", u"196608 MB");
  W.OneOf(Text(u"System Language", {{"fra", u"Langue du systeme"}}),
          {{u"English", 0}, {u"Francais", 1}}, 0);
  W.CheckBox(u"Quiet Boot", true, u"Shows the logo instead of POST messages.");
  W.EnabledDisabled(u"POST Error Pause", false);
  W.CheckBox(u"Boot-time Diagnostic Screen", false);
  W.OneOf(u"NumLock State at Boot", {{u"On", 1}, {u"Off", 0}}, 1);
  W.EndForm();

  W.Form(2, Text(u"Advanced", {{"fra", u"Avance"}}));
  Ifr.Ref(21, u"Processor Configuration")
      .Ref(22, u"Memory Configuration")
      .Ref(23, u"Mass Storage Controller Configuration")
      .Ref(24, u"Serial Port Configuration")
      .Ref(25, u"PCI Configuration")
      .Ref(26, u"USB Configuration")
      .Ref(27, u"System Acoustics and Performance Configuration");
  W.OneOf(u"Power Restore Policy", {{u"Power Off", 0}, {u"Last State", 1}, {u"Power On", 2}}, 1);
  W.CheckBox(u"Wake on LAN", true);
  W.OneOf(u"Option ROM Messages", {{u"Force BIOS", 0}, {u"Keep Current", 1}}, 0);
  QuestionRef Watchdog = W.EnabledDisabled(u"Platform Watchdog Timer", false);
  W.SuppressIfEqual(Watchdog, 0);
  W.Numeric(u"Platform Watchdog Timeout", 1, {.Minimum = 1, .Maximum = 60, .Step = 1, .Default = 10});
  W.EndIf();
  W.EndForm();
}

}  // namespace platform

// Security: passwords, TPM and front panel.
#include "platform/setup_form_writer.h"

namespace platform {

using hiibuild::Text;

void WriteSecurityForm(SetupFormWriter &W, SetupVariables &V) {
  hiibuild::IfrBuilder &Ifr = W.Code();
  W.Form(3, Text(u"Security", {{"fra", u"Securite"}}));
  Ifr.TextItem(u"Administrator Password Status", u"Not Installed")
      .TextItem(u"User Password Status", u"Not Installed");
  // The firmware keeps password hashes in the variable; the driver never
  // records password questions.
  Ifr.Password(V.Setup.Reserve(16), 16, u"Set Administrator Password", {}, 8, 14);
  Ifr.Password(V.Setup.Reserve(16), 16, u"Set User Password", {}, 8, 14);
  QuestionRef AdminInstalled = W.StateByte(0);
  W.GrayOutIfEqual(AdminInstalled, 0);
  W.EnabledDisabled(u"Power On Password", false);
  W.EndIf();
  W.EnabledDisabled(u"Front Panel Lockout", false);
  W.OneOf(u"TPM Administrative Control",
          {{u"No Operation", 0}, {u"Turn On", 1}, {u"Turn Off", 2}, {u"Clear Ownership", 3}}, 0);
  W.CheckBox(u"TPM Physical Presence", true);
  W.EndForm();
}

}  // namespace platform

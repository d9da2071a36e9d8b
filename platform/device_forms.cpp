// Mass storage, serial ports, PCI, USB and system acoustics.
#include "platform/setup_form_writer.h"

#include <string>

namespace platform {

using hiibuild::Text;

static std::u16string Numbered(const std::u16string &Before, int N, const std::u16string &After) {
  std::u16string Text = Before;
  for (char C : std::to_string(N)) Text.push_back(static_cast<char16_t>(C));
  return Text + After;
}

static void WriteMassStorageForm(SetupFormWriter &W, SetupVariables &V) {
  W.Form(23, u"Mass Storage Controller Configuration");
  W.Use(V.Io);
  QuestionRef Sata = W.EnabledDisabled(u"SATA Controller", true);
  W.GrayOutIfEqual(Sata, 0);
  W.OneOf(u"Configure SATA as", {{u"AHCI", 0}, {u"RAID", 1}}, 0);
  W.EndIf();
  W.EnabledDisabled(u"SATA Aggressive Link Power Management", false);
  for (int Port = 0; Port < 8; ++Port) W.CheckBox(Numbered(u"SATA Port ", Port, u" Hot Plug"), false);
  QuestionRef SSata = W.EnabledDisabled(u"sSATA Controller", true);
  W.GrayOutIfEqual(SSata, 0);
  W.OneOf(u"Configure sSATA as", {{u"AHCI", 0}, {u"RAID", 1}}, 0);
  W.EndIf();
  W.Use(V.Setup);
  W.EndForm();
}

// Both ports ask "Address" and "IRQ": the setup screen groups them under
// their port's enable question.
static void WriteSerialPortForm(SetupFormWriter &W) {
  const std::vector<hiibuild::OptionEntry> Addresses = {
      {u"3F8h", 0x3F8}, {u"2F8h", 0x2F8}, {u"3E8h", 0x3E8}, {u"2E8h", 0x2E8}};
  const std::vector<hiibuild::OptionEntry> Irqs = {{u"3", 3}, {u"4", 4}};
  W.Form(24, Text(u"Serial Port Configuration", {{"fra", u"Configuration du port serie"}}));
  W.EnabledDisabled(u"Serial A Enable", true);
  W.OneOf(u"Address", Addresses, 0x3F8, 2);
  W.OneOf(u"IRQ", Irqs, 4);
  W.EnabledDisabled(u"Serial B Enable", true);
  W.OneOf(u"Address", Addresses, 0x2F8, 2);
  W.OneOf(u"IRQ", Irqs, 3);
  W.EndForm();
}

static void WritePciForm(SetupFormWriter &W, SetupVariables &V) {
  W.Form(25, Text(u"PCI Configuration", {{"fra", u"Configuration PCI"}}));
  W.Use(V.Io);
  W.EnabledDisabled(u"PCI 64-Bit Resource Allocation", true);
  W.CheckBox(u"Above 4G Decoding", true);
  W.OneOf(u"Maximum Payload", {{u"Auto", 0}, {u"128B", 1}, {u"256B", 2}}, 0);
  W.OneOf(u"Maximum Read Request", {{u"Auto", 0}, {u"128B", 1}, {u"256B", 2}, {u"512B", 3}}, 0);
  W.OneOf(u"ASPM Support", {{u"Disabled", 0}, {u"Auto", 1}, {u"Force L0s", 2}}, 0);
  W.EnabledDisabled(u"SR-IOV Support", true);
  W.OneOf(u"MMIO High Base", {{u"56T", 0}, {u"40T", 1}, {u"24T", 2}, {u"16T", 3}, {u"4T", 4}, {u"1T", 5}}, 0);
  W.OneOf(u"MMIO High Granularity Size",
          {{u"1G", 0}, {u"4G", 1}, {u"16G", 2}, {u"64G", 3}, {u"256G", 4}, {u"1024G", 5}}, 3);
  W.Numeric(u"PCI Latency Timer", 1, {.Minimum = 32, .Maximum = 248, .Step = 8, .Default = 32});
  W.OneOf(u"VGA Priority", {{u"Onboard", 0}, {u"Offboard", 1}}, 0);
  const std::vector<hiibuild::OptionEntry> Rom = {{u"Disabled", 0}, {u"Legacy", 1}, {u"EFI", 2}};
  W.OneOf(u"Onboard NIC1 Option ROM", Rom, 2);
  W.OneOf(u"Onboard NIC2 Option ROM", Rom, 2);
  for (int Slot = 1; Slot <= 6; ++Slot) W.OneOf(Numbered(u"Slot ", Slot, u" Option ROM"), Rom, 2);
  const std::vector<hiibuild::OptionEntry> Speeds = {{u"Auto", 0}, {u"Gen1", 1}, {u"Gen2", 2}, {u"Gen3", 3}};
  for (int Slot = 1; Slot <= 6; ++Slot) W.OneOf(Numbered(u"PCIe Slot ", Slot, u" Link Speed"), Speeds, 0);
  W.Use(V.Setup);
  W.EndForm();
}

static void WriteUsbForm(SetupFormWriter &W, SetupVariables &V) {
  W.Form(26, u"USB Configuration");
  W.Use(V.Io);
  QuestionRef Legacy = W.OneOf(u"Legacy USB Support", {{u"Enabled", 0}, {u"Disabled", 1}, {u"Auto", 2}}, 0);
  W.EnabledDisabled(u"XHCI Hand-off", true);
  W.EnabledDisabled(u"USB Mass Storage Driver Support", true);
  // Emulation matters only while legacy support can be active.
  W.Code().SuppressIf();
  W.EqualToList(Legacy, {1, 2});
  W.EnabledDisabled(u"Port 60/64 Emulation", true);
  W.EndIf();
  W.OneOf(u"USB Transfer Time-out", {{u"1 sec", 1}, {u"5 sec", 5}, {u"10 sec", 10}, {u"20 sec", 20}}, 20);
  W.OneOf(u"Device Reset Time-out", {{u"10 sec", 10}, {u"20 sec", 20}, {u"30 sec", 30}, {u"40 sec", 40}}, 20);
  QuestionRef PowerUp = W.OneOf(u"Device Power-up Delay", {{u"Auto", 0}, {u"Manual", 1}}, 0);
  W.SuppressIfEqual(PowerUp, 0);
  W.Numeric(u"Device Power-up Delay in Seconds", 1, {.Minimum = 1, .Maximum = 40, .Step = 1, .Default = 5});
  W.EndIf();
  W.CheckBox(u"Front USB Ports", true);
  W.CheckBox(u"Rear USB Ports", true);
  W.CheckBox(u"Internal USB Ports", true);
  W.Use(V.Setup);
  W.EndForm();
}

static void WriteAcousticsForm(SetupFormWriter &W) {
  W.Form(27, u"System Acoustics and Performance Configuration");
  W.OneOf(u"Set Fan Profile", {{u"Performance", 0}, {u"Acoustic", 1}}, 0);
  W.Numeric(u"Fan PWM Offset", 1, {.Minimum = 0, .Maximum = 100, .Step = 1, .Default = 0});
  W.OneOf(u"Altitude",
          {{u"300m or less", 0}, {u"301m-900m", 1}, {u"901m-1500m", 2}, {u"Higher than 1500m", 3}}, 1);
  W.Numeric(u"Thermal Margin Offset", 1, {.Minimum = 0, .Maximum = 20, .Step = 5, .Default = 0});
  W.EnabledDisabled(u"Memory Thermal Throttling", true);
  W.EndForm();
}

void WriteDeviceForms(SetupFormWriter &W, SetupVariables &V) {
  WriteMassStorageForm(W, V);
  WriteSerialPortForm(W);
  WritePciForm(W, V);
  WriteUsbForm(W, V);
  WriteAcousticsForm(W);
}

}  // namespace platform

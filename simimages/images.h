// Our five UEFI images as the simulated firmware loads them (host only).
//
// The simulator knows UEFI, not our images: a test or tool registers each
// image it needs with sim::Firmware::InstallImage (or RegisterImage) under
// its file name, and LoadImage then finds it on a simulated volume. Each
// descriptor gives the image's entry point and the routine that gives it
// fresh image data (its own state and its own copy of the C runtime) when
// it is loaded while no other copy is.
#pragma once

#include "sim/firmware.h"

namespace simimages {

// bioscfg.efi: the driver (entry DriverEntry, ResetImageState).
sim::ImageDescriptor BioscfgImage();

// iniparse.efi: the INI parser image (entry IniParserEntry).
sim::ImageDescriptor IniparseImage();

// hiiprovider.efi: the Framework HII provider (entry ProviderEntry).
sim::ImageDescriptor HiiProviderImage();

// hiicompat.efi: the compatibility image for UEFI 2.x firmware (entry
// CompatEntry, ResetCompatState).
sim::ImageDescriptor HiiCompatImage();

// bioscfg-tool.efi: the configuration tool, an application (loader data),
// so the simulator unloads it whenever its entry point returns.
sim::ImageDescriptor ToolImage();

}  // namespace simimages

// A platform of one form and one question, given to the provider as files
// (hii.bin with the later revision's 20-byte header, variables.txt), and
// the helpers that put files next to the provider image.
#pragma once

#include "runtime/uefi.h"

#include <cstdint>
#include <string>
#include <vector>

// {3D2C8A4E-5B1F-4C70-9E6A-0F1D2C3B4A59}: the demo form set; its question
// uses "Setup" under this GUID (the table has no variable packs).
extern const EFI_GUID kDemoFormSetGuid;

// Form 1 "Main" with the one-of "Boot Beep" (Off 0, On 1; default Off) at
// offset 1 of "Setup".
std::vector<uint8_t> DemoExport();
// "Setup" with "Boot Beep" On, created runtime-less (attributes 0x3), and
// "Extra" with authenticated-write bits (0x27) that the provider drops.
std::string DemoVariables();

void WriteHostFile(const std::string &Path, const std::string &Bytes);
void WriteHostFile(const std::string &Path, const std::vector<uint8_t> &Bytes);

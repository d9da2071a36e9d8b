// The image's lines on the firmware console ("hiicompat: ..."), printed
// once, at load: what the first translation carried over and left out, by
// kind, how conditions were carried, and where device I/O and buffer
// stores come from. In a Shell transcript they stand just above the
// Shell's own "Image ... loaded" line.
#pragma once

#include "hiicompat/translation_counts.h"

namespace hiicompat {

// Longest line, in characters; a longer one is cut.
constexpr size_t REPORT_LINE_CHARS = 320;

// Formats with crt::vswprintf (%hs an 8-bit string, %ls a CHAR16 one) and
// writes the line with the prefix and a CR LF.
void Say(const CHAR16 *Format, ...);

enum class DeviceIoSource : UINT8 { RootBridge, NoRootBridge, FirmwareOwn };

void ReportTranslation(const TranslationCounts &Counts, UINT32 BridgedStores);
void ReportDeviceIo(DeviceIoSource Source);

}  // namespace hiicompat

#include "hiicompat/compat_report.h"

#include "runtime/crt.h"

namespace hiicompat {

namespace {

// Appends Text to Line (Size units) at Used, cutting at the end.
void Append(CHAR16 *Line, size_t Size, size_t &Used, const CHAR16 *Format, ...) {
  if (Used + 1 >= Size) return;
  va_list Args;
  va_start(Args, Format);
  const int Written = crt::vswprintf(Line + Used, Size - Used, Format, Args);
  va_end(Args);
  if (Written < 0) {
    Used = Size - 1;
    Line[Used] = 0;
    return;
  }
  Used += static_cast<size_t>(Written);
}

}  // namespace

void Say(const CHAR16 *Format, ...) {
  CHAR16 Line[REPORT_LINE_CHARS];
  size_t Used = 0;
  Append(Line, REPORT_LINE_CHARS, Used, W(u"hiicompat: "));
  va_list Args;
  va_start(Args, Format);
  const int Written = crt::vswprintf(Line + Used, REPORT_LINE_CHARS - Used - 2, Format, Args);
  va_end(Args);
  Used = Written < 0 ? REPORT_LINE_CHARS - 3 : Used + static_cast<size_t>(Written);
  Line[Used++] = '\r';
  Line[Used++] = '\n';
  Line[Used] = 0;
  SIMPLE_TEXT_OUTPUT_INTERFACE *Out = crt::SystemTable()->ConOut;
  if (Out != nullptr) (void)Out->OutputString(Out, Line);
}

void ReportTranslation(const TranslationCounts &Counts, UINT32 BridgedStores) {
  Say(W(u"%u form sets: carried over %u one-of, %u checkbox, %u numeric (%u of them grayed out)"), Counts.FormSets,
      Counts.Of(Carried::OneOf), Counts.Of(Carried::CheckBox), Counts.Of(Carried::Numeric), Counts.GrayedOut);
  CHAR16 Line[REPORT_LINE_CHARS];
  size_t Used = 0;
  Line[0] = 0;
  for (UINT32 Reason = 0; Reason < static_cast<UINT32>(LeftOut::Count); ++Reason) {
    const UINT32 Count = Counts.Omitted[Reason];
    if (Count == 0) continue;
    Append(Line, REPORT_LINE_CHARS, Used, Used == 0 ? W(u"%u %hs") : W(u", %u %hs"), Count,
           LeftOutName(static_cast<LeftOut>(Reason)));
  }
  Say(W(u"left out: %ls"), Used == 0 ? W(u"nothing") : Line);
  Say(W(u"conditions: %u for the driver to evaluate, %u decided at export, %u undecidable"),
      Counts.FrameworkConditions, Counts.EvaluatedConditions, Counts.Unevaluable);
  Say(W(u"buffer stores: %u, read and written through Config Routing"), BridgedStores);
}

void ReportDeviceIo(DeviceIoSource Source) {
  switch (Source) {
    case DeviceIoSource::RootBridge: Say(W(u"device I/O on the root device path: over the PCI root bridge")); return;
    case DeviceIoSource::NoRootBridge:
      Say(W(u"device I/O on the root device path: no PCI root bridge, its accesses are unsupported"));
      return;
    case DeviceIoSource::FirmwareOwn: Say(W(u"device I/O on the root device path: the firmware's own")); return;
  }
}

}  // namespace hiicompat

#include "hiiprovider/platform_source.h"

#include "hiiprovider/console.h"
#include "platform/embedded_sample.h"

namespace hiiprovider {

namespace {

constexpr char EXPORT_FILE[] = "hii.bin";
constexpr char VARIABLES_FILE[] = "variables.txt";
const CHAR16 *SampleOrigin() { return W(u"the embedded sample platform"); }

// Reads a file that may be absent: Found says whether it was there.
[[nodiscard]] EFI_STATUS ReadOptional(const char *Name, size_t MaxBytes, FileBytes &Out, bool &Found) {
  const EFI_STATUS Status = ReadOwnFile(Name, MaxBytes, Out);
  Found = Status == EFI_SUCCESS;
  if (Status == EFI_SUCCESS || Status == EFI_NOT_FOUND) return EFI_SUCCESS;
  if (Status == EFI_BAD_BUFFER_SIZE)
    Say(W(u"%hs is larger than %lu bytes"), Name, static_cast<unsigned long>(MaxBytes));
  else
    Say(W(u"cannot read %hs: status 0x%lx"), Name, static_cast<unsigned long>(Status));
  return Status;
}

}  // namespace

EFI_STATUS LoadPlatformSource(PlatformSource &Out) {
  const platform::EmbeddedPlatform Sample = platform::EmbeddedSample();
  bool Found = false;
  EFI_STATUS Status = ReadOptional(EXPORT_FILE, MAX_EXPORT_FILE_BYTES, Out.ExportFile, Found);
  if (Status != EFI_SUCCESS) return Status;
  if (Found) {
    Out.Export = Out.ExportFile.Bytes.Get();
    Out.ExportSize = Out.ExportFile.Size;
    Out.ExportOrigin = W(u"hii.bin");
  } else {
    Out.Export = Sample.Export;
    Out.ExportSize = Sample.ExportSize;
    Out.ExportOrigin = SampleOrigin();
  }

  Status = ReadOptional(VARIABLES_FILE, MAX_VARIABLES_FILE_BYTES, Out.VariablesFile, Found);
  if (Status != EFI_SUCCESS) return Status;
  if (Found) {
    Out.Variables = reinterpret_cast<const char *>(Out.VariablesFile.Bytes.Get());
    Out.VariablesLength = Out.VariablesFile.Size;
    Out.VariablesOrigin = W(u"variables.txt");
  } else {
    Out.Variables = Sample.Variables;
    Out.VariablesLength = Sample.VariablesLength;
    Out.VariablesOrigin = SampleOrigin();
  }
  return EFI_SUCCESS;
}

}  // namespace hiiprovider

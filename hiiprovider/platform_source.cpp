#include "hiiprovider/platform_source.h"

#include "hiiprovider/console.h"
#include "hiiprovider/embedded_sample.h"

namespace hiiprovider {

namespace {

// The file Name next to the image when it exists, the sample's half
// otherwise.
[[nodiscard]] EFI_STATUS ChooseHalf(const char *Name, size_t MaxBytes, const void *Sample, size_t SampleSize,
                                    PlatformHalf &Out) {
  const EFI_STATUS Status = ReadOwnFile(Name, MaxBytes, Out.File);
  if (Status == EFI_SUCCESS) {
    Out.Bytes = Out.File.Bytes.Get();
    Out.Size = Out.File.Size;
    Out.Origin = Name;
    return EFI_SUCCESS;
  }
  if (Status == EFI_NOT_FOUND) {
    Out.Bytes = Sample;
    Out.Size = SampleSize;
    Out.Origin = "the embedded sample platform";
    return EFI_SUCCESS;
  }
  if (Status == EFI_BAD_BUFFER_SIZE)
    Say(W(u"%hs is larger than %lu bytes"), Name, static_cast<unsigned long>(MaxBytes));
  else
    Say(W(u"cannot read %hs: status 0x%lx"), Name, static_cast<unsigned long>(Status));
  return Status;
}

}  // namespace

EFI_STATUS LoadPlatformSource(PlatformSource &Out) {
  const EmbeddedPlatform Sample = EmbeddedSample();
  const EFI_STATUS Status = ChooseHalf("hii.bin", MAX_EXPORT_FILE_BYTES, Sample.Export, Sample.ExportSize, Out.Export);
  if (Status != EFI_SUCCESS) return Status;
  return ChooseHalf("variables.txt", MAX_VARIABLES_FILE_BYTES, Sample.Variables, Sample.VariablesLength,
                    Out.Variables);
}

}  // namespace hiiprovider

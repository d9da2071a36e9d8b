// libFuzzer target: the message catalog file bioscfg.str.
//
// The input is the file. The harness balances its 16-bit word sum (pads an
// odd length with a zero byte, then appends the word that makes the sum 0),
// or almost no input would get past the checksum; the refusal of a bad sum
// is covered by the tests. Each input is written to fs0:\tools\bioscfg.str
// and taken through the driver's own path: LoadMessageCatalog, then every
// message looked up and formatted into the last-error text with the
// arguments the driver passes for its number, then DestroyMessageCatalog.
// The pool must be back where it was.
#include "driver/image_state.h"
#include "fuzz/fuzz_platform.h"
#include "messages/catalog_access.h"
#include "messages/last_error_text.h"
#include "messages/message_catalog.h"
#include "messages/messages_state.h"
#include "runtime/crt.h"
#include "tests/messages/catalog_bytes.h"
#include "tools/strc/catalog_image.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

// Looked up at most: a catalog of the largest inputs holds a few hundred.
constexpr UINT32 MAX_LOOKUPS = 4096;

std::string CatalogPath() { return fuzz::TheMachine().Folder + "/tools/bioscfg.str"; }

// Formats message Number as the driver does, with its documented arguments.
void FormatMessage(UINT32 Number) {
  const CHAR16 *Format = LookupMessage(Number);
  const std::string Arguments = MessageArguments(Number);
  if (Arguments.empty()) {
    (void)SetLastErrorText(Format);
  } else if (Arguments == "W") {
    (void)SetLastErrorText(Format, W(u"Boot Mode"));
  } else if (Arguments == "N") {
    (void)SetLastErrorText(Format, "setup.ini");
  } else if (Arguments == "UW") {
    (void)SetLastErrorText(Format, 4294967295u, W(u"Boot Mode"));
  } else {
    std::abort();  // a message signature this harness does not know
  }
  // The text is always terminated within its buffer.
  if (gMessages.ErrorText[gMessages.CurrentErrorText & 1][LAST_ERROR_TEXT_CHARS - 1] != 0) std::abort();
}

void WriteSeeds(const char *Folder) {
  auto Seed = [&](const std::string &Name, const std::vector<std::u16string> &Messages) {
    std::vector<uint8_t> Image = strc::BuildCatalogImage(Messages);
    fuzz::WriteSeed(Folder, Name, std::string(Image.begin(), Image.end()));
  };
  std::vector<std::u16string> Driver(13, u"text");
  Driver[2] = u"\nSetup variable %ls could not be read\n";
  Driver[5] = u"\nValue %u is not allowed for %ls\n";
  Driver[6] = u"\nINI file %hs could not be created\n";
  Driver[11] = u"\nNo session is open: call OpenSession first\n";
  Seed("driver_like", Driver);
  Seed("one_message", {u"only"});
  Seed("formats", {u"%d%%", u"%-8.3ls", u"%hs=%d", u"%*d", u"%ls", u"%u %ls", u"%hs %u"});
  Seed("empty_texts", {u"", u"", u""});
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) { return fuzz::WriteSeedsWhenAsked(WriteSeeds); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  sim::Firmware &Fw = fuzz::TheMachine().Fw;
  static const bool PathSet = [&] {
    Fw.SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
    crt::Shutdown();
    return crt::Startup(fuzz::TheMachine().Image, Fw.SystemTable()) == EFI_SUCCESS;
  }();
  if (!PathSet) std::abort();

  const std::vector<uint8_t> File = catalog_bytes::Balanced(std::vector<uint8_t>(Data, Data + Size));
  std::ofstream(CatalogPath(), std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char *>(File.data()), static_cast<std::streamsize>(File.size()));

  const size_t PoolBlocks = Fw.LivePoolBlocks();
  if (LoadMessageCatalog() == EFI_SUCCESS) {
    const UINT32 Count = gMessages.Catalog->Count;
    for (UINT32 Number = 0; Number <= Count && Number < MAX_LOOKUPS; ++Number) FormatMessage(Number);
  }
  DestroyMessageCatalog();
  if (Fw.LivePoolBlocks() != PoolBlocks) std::abort();
  return 0;
}

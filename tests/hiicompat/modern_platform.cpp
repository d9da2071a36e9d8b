#include "tests/hiicompat/modern_platform.h"

#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "settings/settings_engine.h"
#include "simimages/images.h"

#include <filesystem>
#include <fstream>

namespace compat_test {

void MakeModern(sim::Firmware &Fw) {
  Fw.RemoveRootDeviceIo();
  Fw.InstallUefiHii();
  Fw.InstallPciRootBridge();
}

Bytes FormSetWriter::List(const EFI_GUID &Guid, const std::vector<uefihii::StringPackage> &More) const {
  uefihii::PackageList L(Guid);
  L.AddForms(Ifr);
  L.AddStrings(Strings);
  for (const uefihii::StringPackage &P : More) L.AddStrings(P);
  return L.Build();
}

void CompatImageTest::SetUp() {
  Firmware = std::make_unique<sim::Firmware>();
  Folder = std::make_unique<sim::TempFolder>("bioscfg-compat");
  ASSERT_FALSE(Folder->Path().empty());
  Fw().MountVolume(Folder->Path());
  MakeModern(Fw());
  ASSERT_TRUE(Fw().InstallImage("fs0:\\hiicompat.efi", simimages::HiiCompatImage()));
}

void CompatImageTest::TearDown() {
  if (DriverImage != nullptr) {
    EXPECT_EQ(Fw().UnloadImage(DriverImage), EFI_SUCCESS);
  }
  if (Handle != nullptr) {
    EXPECT_EQ(Unload(), EFI_SUCCESS);
  }
  EXPECT_EQ(Fw().LivePoolBlocks(), 0u) << "pool blocks left after hiicompat unloaded";
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
  Firmware.reset();
  Folder.reset();
}

EFI_STATUS CompatImageTest::Load() {
  EFI_HANDLE Loaded = nullptr;
  const EFI_STATUS Status = Fw().LoadAndStart("fs0:\\hiicompat.efi", &Loaded);
  if (Status == EFI_SUCCESS) Handle = Loaded;
  return Status;
}

EFI_STATUS CompatImageTest::Unload() {
  const EFI_STATUS Status = Fw().UnloadImage(Handle);
  if (Status == EFI_SUCCESS) Handle = nullptr;
  return Status;
}

Bytes CompatImageTest::FrameworkExport() {
  const std::vector<EFI_HANDLE> Handles = Fw().HandlesWith(kFrameworkHiiProtocolGuid);
  if (Handles.size() != 1) {
    ADD_FAILURE() << Handles.size() << " handles carry the Framework HII protocol";
    return {};
  }
  struct Hii {
    void *Entries[3];
    EFI_STATUS(EFIAPI *ExportDatabase)(void *This, UINT16 Handle, UINTN *Size, VOID *Buffer);
  };
  auto *Protocol = static_cast<Hii *>(Fw().FindProtocol(Handles[0], kFrameworkHiiProtocolGuid));
  UINTN Size = 0;
  EXPECT_EQ(Protocol->ExportDatabase(Protocol, 0, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  Bytes Out(Size);
  EXPECT_EQ(Protocol->ExportDatabase(Protocol, 0, &Size, Out.data()), EFI_SUCCESS);
  Out.resize(Size);
  return Out;
}

void CompatImageTest::StartDriver() {
  const std::string Tools = Folder->Path() + "/tools";
  std::filesystem::create_directories(Tools);
  const std::vector<uint8_t> Catalog = DriverCatalogImage();
  std::ofstream(Tools + "/bioscfg.str", std::ios::binary)
      .write(reinterpret_cast<const char *>(Catalog.data()), static_cast<std::streamsize>(Catalog.size()));
  Fw().SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
  ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\bioscfg.efi", simimages::BioscfgImage()));
  ASSERT_EQ(Fw().LoadAndStart("fs0:\\tools\\bioscfg.efi", &DriverImage), EFI_SUCCESS);
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  void *Interface = nullptr;
  ASSERT_EQ(Fw().SystemTable()->BootServices->LocateProtocol(&Guid, nullptr, &Interface), EFI_SUCCESS);
  Driver = static_cast<BIOS_CONFIG_PROTOCOL *>(Interface);
  ASSERT_EQ(Driver->OpenSession(Driver), EFI_SUCCESS);
}

std::vector<const SetupQuestion *> CompatImageTest::Records() {
  std::vector<const SetupQuestion *> Out;
  if (gImage.Engine == nullptr || gImage.Engine->EnsureFormsLoaded() != EFI_SUCCESS) {
    ADD_FAILURE() << "the driver has no forms";
    return Out;
  }
  for (const SetupQuestion *Q = gImage.Engine->Forms.Questions; Q != nullptr; Q = Q->Next) Out.push_back(Q);
  return Out;
}

const SetupQuestion *CompatImageTest::Record(const std::u16string &Prompt) {
  for (const SetupQuestion *Q : Records())
    if (Q->OpCode != IFR_FORM_OP && PromptOf(Q) == Prompt) return Q;
  return nullptr;
}

void CompatImageTest::ReloadForms() {
  ASSERT_NE(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.Engine->ResetForms(), EFI_SUCCESS);
}

std::u16string PromptOf(const SetupQuestion *Q) {
  std::u16string Out;
  const auto *Bytes = reinterpret_cast<const uint8_t *>(Q->PromptText);
  for (UINT16 Index = 0; Bytes != nullptr && Index < Q->PromptLength; ++Index)
    Out.push_back(static_cast<char16_t>(Bytes[2 * Index] | (Bytes[2 * Index + 1] << 8)));
  return Out;
}

std::vector<std::u16string> OptionTextsOf(const SetupQuestion *Q) {
  std::vector<std::u16string> Out;
  OptionCursor Cursor(*Q);
  for (OptionView O{}; Cursor.Next(O);) {
    std::u16string Text;
    const auto *Bytes = reinterpret_cast<const uint8_t *>(O.Text);
    for (UINT32 Index = 0; Bytes != nullptr && Index < O.TextLength; ++Index)
      Text.push_back(static_cast<char16_t>(Bytes[2 * Index] | (Bytes[2 * Index + 1] << 8)));
    Out.push_back(Text);
  }
  return Out;
}

std::vector<uint32_t> OptionValuesOf(const SetupQuestion *Q) {
  std::vector<uint32_t> Out;
  OptionCursor Cursor(*Q);
  for (OptionView O{}; Cursor.Next(O);) Out.push_back(O.Value);
  return Out;
}

void CompatDriverTest::SetUp() {
  DriverTest::SetUp();
  if (HasFatalFailure()) return;
  ASSERT_NE(Proto(), nullptr) << "the driver started after hiicompat";
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

void CompatDriverTest::PreparePlatform() {
  MakeModern(Fw());
  ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\hiicompat.efi", simimages::HiiCompatImage()));
  AddForms();
  ASSERT_EQ(Fw().LoadAndStart("fs0:\\tools\\hiicompat.efi", &CompatHandle), EFI_SUCCESS);
}

void CompatDriverTest::TearDown() {
  if (DriverHandle() != nullptr) {
    EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  }
  if (CompatHandle != nullptr) {
    EXPECT_EQ(Fw().UnloadImage(CompatHandle), EFI_SUCCESS);
  }
  DriverTest::TearDown();
}

CompatDriverTest::Reading CompatDriverTest::Get(const std::u16string &Prompt) {
  Reading Out;
  std::u16string Name = Prompt;
  BIOS_SETTING_REQUEST Request{};
  Request.Name = reinterpret_cast<CHAR16 *>(Name.data());
  Request.NameLength = static_cast<UINT32>(Name.size());
  Out.Status = Proto()->GetSettings(Proto(), &Request);
  Out.Found = Request.Found != 0;
  Out.Type = Request.Type;
  Out.Value = Request.Value;
  for (const BIOS_SETTING_OPTION *O = Request.Options; O != nullptr; O = O->Next) {
    const auto *Text = reinterpret_cast<const char16_t *>(static_cast<uintptr_t>(O->TextAddress));
    Out.Options.emplace_back(Text, O->TextLength);
  }
  return Out;
}

EFI_STATUS CompatDriverTest::Set(const std::u16string &Prompt, uint32_t Value, uint8_t *Applied) {
  std::u16string Name = Prompt;
  BIOS_SETTING_VALUE Record{};
  Record.Name = reinterpret_cast<CHAR16 *>(Name.data());
  Record.NameLength = static_cast<UINT32>(Name.size());
  Record.Value = Value;
  const EFI_STATUS Status = Proto()->SetSettings(Proto(), &Record);
  if (Applied != nullptr) *Applied = Record.Status;
  return Status;
}

uint32_t CompatDriverTest::OptionValue(const std::u16string &Prompt, const std::u16string &Text) {
  std::u16string Name = Prompt;
  BIOS_SETTING_REQUEST Request{};
  Request.Name = reinterpret_cast<CHAR16 *>(Name.data());
  Request.NameLength = static_cast<UINT32>(Name.size());
  EXPECT_EQ(Proto()->GetSettings(Proto(), &Request), EFI_SUCCESS);
  for (const BIOS_SETTING_OPTION *O = Request.Options; O != nullptr; O = O->Next) {
    const auto *Chars = reinterpret_cast<const char16_t *>(static_cast<uintptr_t>(O->TextAddress));
    if (std::u16string(Chars, O->TextLength) == Text) return O->Value;
  }
  ADD_FAILURE() << "no such option";
  return 0;
}

}  // namespace compat_test

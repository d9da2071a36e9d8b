#include "tests/settings/settings_fixture.h"

#include "platform/sample_platform.h"

const EFI_GUID kTestFormSetGuid = {0x5e77e5a1, 0x1234, 0x4d2b, {0x9a, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}};

hiibuild::Bytes TestExport(const std::function<void(hiibuild::IfrBuilder &)> &Body) {
  hiibuild::ExportBuilder Export;
  hiibuild::IfrBuilder &Ifr = Export.AddTable(kTestFormSetGuid).Ifr();
  Ifr.FormSet(kTestFormSetGuid, u"Test");
  Body(Ifr);
  Ifr.EndFormSet();
  return Export.Build();
}

RequestList::RequestList(const std::vector<std::u16string> &Names) {
  for (const auto &Name : Names) {
    NameStore.push_back(Name);
    BIOS_SETTING_REQUEST R{};
    R.Name = reinterpret_cast<CHAR16 *>(NameStore.back().data());
    R.NameLength = static_cast<UINT32>(Name.size());
    Records.push_back(R);
  }
  for (size_t I = 0; I + 1 < Records.size(); ++I) Records[I].Next = &Records[I + 1];
}

ValueList::ValueList(const std::vector<std::pair<std::u16string, uint32_t>> &Entries) {
  for (const auto &[Name, Value] : Entries) {
    NameStore.push_back(Name);
    BIOS_SETTING_VALUE V{};
    V.Name = reinterpret_cast<CHAR16 *>(NameStore.back().data());
    V.NameLength = static_cast<UINT32>(Name.size());
    V.Value = Value;
    Records.push_back(V);
  }
  for (size_t I = 0; I + 1 < Records.size(); ++I) Records[I].Next = &Records[I + 1];
}

std::vector<int> ValueList::Statuses() const {
  std::vector<int> Out;
  for (const auto &R : Records) Out.push_back(R.Status);
  return Out;
}

std::vector<ClientOption> ClientOptions(const BIOS_SETTING_REQUEST &Request) {
  std::vector<ClientOption> Out;
  for (const BIOS_SETTING_OPTION *O = Request.Options; O != nullptr; O = O->Next) {
    std::u16string Text;
    if (O->TextAddress != 0) {
      Text = hiibuild::ReadWideZ(reinterpret_cast<const void *>(static_cast<uintptr_t>(O->TextAddress)));
      EXPECT_EQ(Text.size(), O->TextLength) << "TextLength disagrees with the text";
    }
    Out.push_back({Text, O->Value});
  }
  return Out;
}

void SettingsTest::PreparePlatform() {
  const auto &P = platform::Sample();
  Fw().InstallHii(P.Export, P.HiiProtocolGuid);
  for (const auto &V : P.Variables) Fw().PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
}

void SettingsTest::SetUp() {
  DriverTest::SetUp();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

void SettingsTest::UsePlatform(const hiibuild::Bytes &Export,
                               const std::vector<std::pair<std::u16string, hiibuild::VariableImage>> &Variables,
                               const EFI_GUID &Guid) {
  Fw().SetHiiExport(Export);
  Fw().ClearVariables();
  SetTorvelPath(u"fs0:\\tools");
  for (const auto &[Name, Image] : Variables) Fw().PutVariable(Name, Guid, 0x7, Image.Data());
  // The forms of the session so far came from the old export.
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

uint32_t SettingsTest::Stored(const std::u16string &Name, const EFI_GUID &Guid, size_t Offset, int Width) {
  auto V = Fw().FindVariable(Name, Guid);
  EXPECT_TRUE(V.has_value());
  if (!V) return 0;
  uint32_t Value = 0;
  for (int I = 0; I < Width; ++I) Value |= static_cast<uint32_t>(V->Data.at(Offset + I)) << (8 * I);
  return Value;
}

uint32_t SettingsTest::SampleStored(const std::u16string &Prompt, uint16_t FormId) {
  const platform::PlatformQuestion *Q = platform::FindSampleQuestion(Prompt, FormId);
  EXPECT_NE(Q, nullptr);
  if (Q == nullptr) return 0;
  return Stored(Q->VariableName, Q->VariableGuid, Q->Offset, Q->Width);
}

void DuplicatePrompts::SetUp() {
  SettingsTest::SetUp();
  hiibuild::VariableImage Setup(8);
  Setup.Set(0, 1, 1).Set(1, 1, 0).Set(2, 1, 1);
  UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                Ifr.Form(1, u"Main").CheckBox(0, 1, u"Twin").CheckBox(1, 1, u"Twin").CheckBox(2, 1, u"Single").EndForm();
              }),
              {{u"Setup", Setup}}, kTestFormSetGuid);
}

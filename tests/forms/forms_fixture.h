// FormsTest: a SetupFormDatabase on the simulated firmware, with helpers to
// install HII exports made by the builder, load them and look at the result.
#pragma once

#include "driver/image_state.h"
#include "forms/option_cursor.h"
#include "forms/setup_form_database.h"
#include "hiibuild/framework_hii.h"
#include "hiibuild/host/hii_export_builder.h"
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace forms_test {

using hiibuild::Bytes;
using hiibuild::DataTableBuilder;
using hiibuild::ExportBuilder;
using hiibuild::IfrBuilder;
using hiibuild::Text;

inline constexpr EFI_GUID kFormSetGuid = {
    0x3c2b0a51, 0x77e0, 0x4d6b, {0x9a, 0x10, 0x5e, 0x21, 0x83, 0xc4, 0x0f, 0x6d}};
inline constexpr EFI_GUID kOtherGuid = {
    0x8f1d2e44, 0x0b7a, 0x4c39, {0xb2, 0x5e, 0x11, 0x6a, 0xd0, 0x9c, 0x73, 0x02}};
inline constexpr uint32_t kAttributes = 0x7;

inline std::u16string Str(const CHAR16 *Text, size_t Length) {
  if (Text == nullptr) return u"<none>";
  return std::u16string(reinterpret_cast<const char16_t *>(Text), Length);
}

inline std::u16string Prompt(const SetupQuestion *Q) { return Str(Q->PromptText, Q->PromptLength); }

// A NUL-terminated wide name read byte by byte (it may be unaligned).
inline std::u16string NameOf(const CHAR16 *Name) {
  if (Name == nullptr) return u"<none>";
  std::u16string Out;
  const auto *B = reinterpret_cast<const uint8_t *>(Name);
  for (size_t I = 0; B[I] != 0 || B[I + 1] != 0; I += 2) Out.push_back(char16_t(B[I] | (B[I + 1] << 8)));
  return Out;
}

inline bool SameGuid(const EFI_GUID *A, const EFI_GUID &B) {
  return A != nullptr && std::memcmp(A, &B, sizeof(EFI_GUID)) == 0;
}

// A question's options as the cursor gives them.
inline std::vector<OptionView> OptionsOf(const SetupQuestion *Q) {
  std::vector<OptionView> Options;
  OptionCursor Cursor(*Q);
  for (OptionView O{}; Cursor.Next(O);) Options.push_back(O);
  return Options;
}

inline std::vector<uint32_t> OptionValues(const SetupQuestion *Q) {
  std::vector<uint32_t> Values;
  for (const OptionView &O : OptionsOf(Q)) Values.push_back(O.Value);
  return Values;
}

inline std::vector<std::u16string> OptionTexts(const SetupQuestion *Q) {
  std::vector<std::u16string> Texts;
  for (const OptionView &O : OptionsOf(Q)) Texts.push_back(Str(O.Text, O.TextLength));
  return Texts;
}

class FormsTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    Db.emplace();
    BaselineBlocks = crt::LiveBlockCount();
    BaselinePageRuns = Fw().LivePageRuns();
  }
  void TearDown() override {
    Db.reset();
    // Everything the database took must be back, whatever the test did.
    EXPECT_EQ(crt::LiveBlockCount(), BaselineBlocks);
    EXPECT_EQ(Fw().LivePageRuns(), BaselinePageRuns);
    SimTest::TearDown();
  }

  SetupFormDatabase &Forms() { return *Db; }

  // The first export installs the protocol; later ones replace the export
  // it serves.
  void Install(const ExportBuilder &Export) { InstallBytes(Export.Build(), Export.ProtocolGuid()); }
  void InstallBytes(const Bytes &Export, const EFI_GUID &Guid = gFrameworkHiiProtocolGuid) {
    if (HiiInstalled) {
      Fw().SetHiiExport(Export);
      return;
    }
    Fw().InstallHii(Export, Guid, 1);
    HiiInstalled = true;
  }

  // Retrieves and parses whatever is installed; the retrieval must succeed.
  void LoadInstalled() {
    ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    ASSERT_EQ(Forms().ParseForms(), EFI_SUCCESS);
  }
  void Load(const ExportBuilder &Export) {
    Install(Export);
    LoadInstalled();
  }
  void LoadBytes(const Bytes &Export) {
    InstallBytes(Export);
    LoadInstalled();
  }

  void PutVariable(const std::u16string &Name, const EFI_GUID &Guid, const Bytes &Data) {
    Fw().PutVariable(Name, Guid, kAttributes, Data);
  }
  void PutSetup(const Bytes &Data) { PutVariable(u"Setup", kFormSetGuid, Data); }

  // Fn applied to every record in list order, or to question records only.
  template <class F>
  auto Map(F Fn, bool QuestionsOnly = false) const {
    std::vector<decltype(Fn(Db->Questions))> Out;
    for (const SetupQuestion *Q = Db->Questions; Q != nullptr; Q = Q->Next) {
      if (!QuestionsOnly || Q->OpCode != IFR_FORM_OP) Out.push_back(Fn(Q));
    }
    return Out;
  }
  static const SetupQuestion *Self(const SetupQuestion *Q) { return Q; }
  std::vector<const SetupQuestion *> Records() const { return Map(Self); }
  std::vector<const SetupQuestion *> Questions() const { return Map(Self, true); }
  std::vector<std::u16string> Prompts() const { return Map(Prompt); }
  std::vector<uint32_t> QuestionFlags() const {
    return Map([](const SetupQuestion *Q) -> uint32_t { return Q->Flags; }, true);
  }

 private:
  std::optional<SetupFormDatabase> Db;
  bool HiiInstalled = false;
  size_t BaselineBlocks = 0;
  size_t BaselinePageRuns = 0;
};

// A table in "eng" whose IFR starts with the form set and a form.
inline IfrBuilder &StartForms(ExportBuilder &Export, std::vector<std::string> Languages = {"eng"}) {
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid, std::move(Languages));
  return Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main");
}

}  // namespace forms_test

// Retrieval of the HII export: locating the protocol under either GUID, the
// two header forms, failed and retried exports, and discarding.
#include "forms/hii_retrieval.h"
#include "forms_fixture.h"

namespace forms_test {
namespace {

using HiiRetrievalTest = FormsTest;

ExportBuilder OneForm(hiibuild::ExportHeaderStyle Style = hiibuild::ExportHeaderStyle::Classic) {
  ExportBuilder Export(Style);
  StartForms(Export).CheckBox(0, 1, u"Q").EndForm().EndFormSet();
  return Export;
}

TEST_F(HiiRetrievalTest, CopiesTheWholeExportBelow4G) {
  ExportBuilder Export = OneForm();
  const Bytes Image = Export.Build();
  Install(Export);
  ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
  ASSERT_NE(Forms().ExportBuffer, nullptr);
  EXPECT_EQ(Forms().ExportSize, Image.size());
  EXPECT_EQ(0, std::memcmp(Forms().ExportBuffer, Image.data(), Image.size()));
  EXPECT_EQ(0, std::memcmp(Forms().ExportHeader, Image.data(), 18));
  EXPECT_EQ(Forms().DataTableCount, 1u);
  EXPECT_LE(reinterpret_cast<uintptr_t>(Forms().ExportBuffer) + Image.size(), 0x100000000ull);
  EXPECT_NE(gImage.Hii, nullptr);
  EXPECT_EQ(gImage.HiiHandle, 0);
  EXPECT_EQ(Forms().Questions, nullptr);  // retrieved, not parsed
}

TEST_F(HiiRetrievalTest, ProtocolLookupFailuresAreReturned) {
  EXPECT_EQ(Forms().RetrieveForms(), EFI_NOT_FOUND);
  EXPECT_EQ(Forms().ExportSize, 0u);
  EXPECT_EQ(Forms().ExportBuffer, nullptr);

  Fw().InstallHii(OneForm().Build(), gFrameworkHiiProtocolGuid, 3);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Forms().ExportSize, 0u);
}

TEST_F(HiiRetrievalTest, SecondHandleIsTriedWhenTheFirstFails) {
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiProtocolGuid, 2);
  Fw().FailNthCall(sim::Service::HandleProtocol, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);

  (void)Forms().DiscardForms();
  Fw().FailNthCall(sim::Service::HandleProtocol, 1, EFI_UNSUPPORTED);
  Fw().FailNthCall(sim::Service::HandleProtocol, 2, EFI_ACCESS_DENIED);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_ACCESS_DENIED);
}

TEST_F(HiiRetrievalTest, FailedExportLeavesNothingAndARetryStartsAfresh) {
  PutSetup(Bytes{1});
  Install(OneForm());
  // The first ExportDatabase call measures; the second copies and fails.
  Fw().FailNthCall(sim::Service::HiiExportDatabase, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_DEVICE_ERROR);
  EXPECT_EQ(Forms().ExportBuffer, nullptr);
  EXPECT_EQ(Forms().ExportSize, 0u);

  Fw().ResetCounters();
  LoadInstalled();
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 2u);  // measured again
  ASSERT_EQ(Questions().size(), 1u);
  EXPECT_EQ(Questions()[0]->Value, 1u);
}

TEST_F(HiiRetrievalTest, FailedAllocationIsOutOfResources) {
  Install(OneForm());
  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_OUT_OF_RESOURCES);
  Fw().ClearFaults();
  EXPECT_EQ(Forms().ExportSize, 0u);
  EXPECT_EQ(Forms().ExportBuffer, nullptr);
}

TEST_F(HiiRetrievalTest, EmptyOrShortExports) {
  InstallBytes({});
  EXPECT_EQ(Forms().RetrieveForms(), EFI_NOT_FOUND);  // nothing to export
  EXPECT_EQ(Forms().ExportSize, 0u);

  InstallBytes({5, 0, 1, 2});  // too short for a header: no tables
  LoadInstalled();
  EXPECT_EQ(Forms().DataTableCount, 0u);
  EXPECT_EQ(Forms().Questions, nullptr);
}

TEST_F(HiiRetrievalTest, LaterProtocolIsUsedOnlyWithoutTheClassicOne) {
  ExportBuilder Export = OneForm(hiibuild::ExportHeaderStyle::Extended);
  ASSERT_TRUE(hiibuild::GuidsEqual(Export.ProtocolGuid(), gFrameworkHiiLaterProtocolGuid));
  Install(Export);
  Fw().ResetCounters();
  LoadInstalled();
  EXPECT_EQ(Fw().Calls(sim::Service::LocateHandle), 2u);  // classic: not found; later: found
  EXPECT_EQ(Forms().ExportHeaderSize, 20u);
  EXPECT_EQ(Records().size(), 2u);

  // LocateHandle failing otherwise for the classic GUID is final.
  (void)Forms().DiscardForms();
  Fw().FailNthCall(sim::Service::LocateHandle, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_DEVICE_ERROR);
}

// Header style, the GUID serving it, and the header size expected.
struct HeaderCase {
  hiibuild::ExportHeaderStyle Style;
  bool ServedByLaterGuid;
  uint32_t HeaderSize;
};

class HeaderFormTest : public FormsTest, public testing::WithParamInterface<HeaderCase> {};

TEST_P(HeaderFormTest, IsToldByWhereTheGuidSits) {
  const HeaderCase &C = GetParam();
  Fw().InstallHii(OneForm(C.Style).Build(),
                  C.ServedByLaterGuid ? gFrameworkHiiLaterProtocolGuid : gFrameworkHiiProtocolGuid, 1);
  LoadInstalled();
  EXPECT_EQ(Forms().ExportHeaderSize, C.HeaderSize);
  EXPECT_EQ(Forms().DataTableCount, 1u);
  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  EXPECT_EQ(All[0]->FormId, 1);
  EXPECT_EQ(Str(All[1]->PromptText, All[1]->PromptLength), u"Q");
}

INSTANTIATE_TEST_SUITE_P(
    Styles, HeaderFormTest,
    testing::Values(HeaderCase{hiibuild::ExportHeaderStyle::Classic, false, 18},
                    HeaderCase{hiibuild::ExportHeaderStyle::Classic, true, 18},
                    HeaderCase{hiibuild::ExportHeaderStyle::Extended, true, 20},
                    HeaderCase{hiibuild::ExportHeaderStyle::Extended, false, 20}));

TEST_F(HiiRetrievalTest, WideHeaderCountsTablesIn32Bits) {
  ExportBuilder Export(hiibuild::ExportHeaderStyle::Extended);
  StartForms(Export).EndForm().EndFormSet();
  Export.OverrideTableCount(0x10001);  // more than 16 bits can count
  Load(Export);
  EXPECT_EQ(Forms().DataTableCount, 0x10001u);
  EXPECT_EQ(Records().size(), 1u);  // the walk ends with the buffer
}

TEST_F(HiiRetrievalTest, DiscardEmptiesAndTheNextRetrievalMeasuresAgain) {
  Load(OneForm());
  EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  EXPECT_EQ(Forms().Questions, nullptr);
  EXPECT_EQ(Forms().ExportBuffer, nullptr);
  EXPECT_EQ(Forms().ExportSize, 0u);
  EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);  // harmless twice

  // The database has grown since: it is exported whole.
  ExportBuilder Grown;
  StartForms(Grown).CheckBox(0, 1, u"Q").CheckBox(1, 1, u"New").EndForm().EndFormSet();
  const Bytes Image = Grown.Build();
  Install(Grown);
  LoadInstalled();
  EXPECT_EQ(Forms().ExportSize, Image.size());
  EXPECT_EQ(Questions().size(), 2u);
}

}  // namespace
}  // namespace forms_test

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

void ExpectEmpty(SetupFormDatabase &Db) {
  EXPECT_EQ(Db.ExportBuffer, nullptr);
  EXPECT_EQ(Db.ExportSize, 0u);
  EXPECT_EQ(Db.Questions, nullptr);
}

TEST_F(HiiRetrievalTest, CopiesTheExportBelow4GAndDiscardMakesTheNextLoadMeasureAgain) {
  ExportBuilder Export = OneForm();
  const Bytes Image = Export.Build();
  Install(Export);
  ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
  ASSERT_EQ(Forms().ExportSize, Image.size());
  EXPECT_EQ(0, std::memcmp(Forms().ExportBuffer, Image.data(), Image.size()));
  EXPECT_LE(reinterpret_cast<uintptr_t>(Forms().ExportBuffer) + Image.size(), 0x100000000ull);
  EXPECT_EQ(Forms().Questions, nullptr);  // retrieved, not parsed

  EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  ExpectEmpty(Forms());
  EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);  // harmless twice
  // The database has grown since: it is exported whole.
  ExportBuilder Grown;
  StartForms(Grown).CheckBox(0, 1, u"Q").CheckBox(1, 1, u"New").EndForm().EndFormSet();
  Install(Grown);
  LoadInstalled();
  EXPECT_EQ(Forms().ExportSize, Grown.Build().size());
  EXPECT_EQ(Questions().size(), 2u);
}

TEST_F(HiiRetrievalTest, ProtocolLookupFailuresAreReturned) {
  EXPECT_EQ(Forms().RetrieveForms(), EFI_NOT_FOUND);
  ExpectEmpty(Forms());
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiProtocolGuid, 3);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_BUFFER_TOO_SMALL);
  ExpectEmpty(Forms());
}

TEST_F(HiiRetrievalTest, SecondHandleIsTriedWhenTheFirstFails) {
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiProtocolGuid, 2);
  Fw().FailNthCall(sim::Service::HandleProtocol, 1, EFI_UNSUPPORTED);
  Fw().FailNthCall(sim::Service::HandleProtocol, 2, EFI_ACCESS_DENIED);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_ACCESS_DENIED);
  ExpectEmpty(Forms());
  Fw().FailNthCall(sim::Service::HandleProtocol, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
}

// A handle with the classic GUID whose interface can't be had is a failure
// of its own, even when another handle serves the later GUID.
TEST_F(HiiRetrievalTest, LaterGuidIsTriedOnlyWhenNoHandleCarriesTheClassicOne) {
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiLaterProtocolGuid, 1);
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiProtocolGuid, 1);
  for (const EFI_STATUS Fault : {EFI_NOT_FOUND, EFI_UNSUPPORTED}) {
    Fw().FailNthCall(sim::Service::HandleProtocol, 1, Fault);
    Fw().ResetCounters();
    EXPECT_EQ(Forms().RetrieveForms(), Fault);
    EXPECT_EQ(Fw().Calls(sim::Service::LocateHandle), 1u) << "the later GUID was looked up";
    ExpectEmpty(Forms());
  }
}

TEST_F(HiiRetrievalTest, ClassicHandleWithoutAnInterfaceEndsTheSearch) {
  Fw().InstallHii(OneForm().Build(), gFrameworkHiiLaterProtocolGuid, 1);
  Fw().InstallProtocol(nullptr, gFrameworkHiiProtocolGuid, nullptr);
  Fw().ResetCounters();
  EXPECT_EQ(Forms().RetrieveForms(), EFI_NOT_FOUND);
  EXPECT_EQ(Fw().Calls(sim::Service::LocateHandle), 1u) << "the later GUID was looked up";
  ExpectEmpty(Forms());
}

TEST_F(HiiRetrievalTest, FailedExportsLeaveNothingAndARetryStartsAfresh) {
  PutSetup(Bytes{1});
  Install(OneForm());
  // The first ExportDatabase call measures; the second copies and fails.
  Fw().FailNthCall(sim::Service::HiiExportDatabase, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_DEVICE_ERROR);
  ExpectEmpty(Forms());
  Fw().ResetCounters();
  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_OUT_OF_RESOURCES);
  Fw().ClearFaults();
  ExpectEmpty(Forms());

  Fw().ResetCounters();
  LoadInstalled();
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 2u);  // measured again
  ASSERT_EQ(Questions().size(), 1u);
  EXPECT_EQ(Questions()[0]->Value, 1u);
}

TEST_F(HiiRetrievalTest, EmptyOrShortExports) {
  InstallBytes({});
  EXPECT_EQ(Forms().RetrieveForms(), EFI_NOT_FOUND);  // nothing to export
  ExpectEmpty(Forms());
  InstallBytes({5, 0, 1, 2});  // too short for a header: no tables
  LoadInstalled();
  EXPECT_EQ(Forms().DataTableCount, 0u);
  EXPECT_EQ(Forms().Questions, nullptr);
}

// The header's form is told by where the GUID sits, not by which protocol
// GUID serves the export; the later GUID is looked up only without the classic one.
struct HeaderCase {
  hiibuild::ExportHeaderStyle Style;
  bool ServedByLaterGuid;
  uint32_t HeaderSize;
};

class HeaderFormTest : public FormsTest, public testing::WithParamInterface<HeaderCase> {};

TEST_P(HeaderFormTest, IsToldByWhereTheGuidSits) {
  const HeaderCase &C = GetParam();
  ExportBuilder Export = OneForm(C.Style);
  // The wide header counts tables in 32 bits; the walk still ends with the buffer.
  const bool Wide = C.HeaderSize == 20;
  if (Wide) Export.OverrideTableCount(0x10001);
  Fw().InstallHii(Export.Build(),
                  C.ServedByLaterGuid ? gFrameworkHiiLaterProtocolGuid : gFrameworkHiiProtocolGuid, 1);
  Fw().ResetCounters();
  LoadInstalled();
  EXPECT_EQ(Fw().Calls(sim::Service::LocateHandle), C.ServedByLaterGuid ? 2u : 1u);
  EXPECT_EQ(Forms().ExportHeaderSize, C.HeaderSize);
  EXPECT_EQ(Forms().DataTableCount, Wide ? 0x10001u : 1u);
  EXPECT_EQ(Prompts(), (std::vector<std::u16string>{u"Main", u"Q"}));
  // LocateHandle failing otherwise for the classic GUID is final.
  EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  Fw().FailNthCall(sim::Service::LocateHandle, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Forms().RetrieveForms(), EFI_DEVICE_ERROR);
}

INSTANTIATE_TEST_SUITE_P(
    Styles, HeaderFormTest,
    testing::Values(HeaderCase{hiibuild::ExportHeaderStyle::Classic, false, 18},
                    HeaderCase{hiibuild::ExportHeaderStyle::Classic, true, 18},
                    HeaderCase{hiibuild::ExportHeaderStyle::Extended, true, 20},
                    HeaderCase{hiibuild::ExportHeaderStyle::Extended, false, 20}));

}  // namespace
}  // namespace forms_test

// SettingsTest: the driver on a platform, reached as a client reaches it,
// with helpers that build the client's linked request lists and read the
// firmware's variables back.
#pragma once

#include "hiibuild/host/hii_export_builder.h"
#include "tests/support/driver_harness.h"

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// Request lists as a client builds them: names and records stay put while
// the list lives, records are linked in the order given.
class RequestList {
 public:
  explicit RequestList(const std::vector<std::u16string> &Names);
  BIOS_SETTING_REQUEST *Head() { return Records.empty() ? nullptr : &Records.front(); }
  BIOS_SETTING_REQUEST &operator[](size_t I) { return Records.at(I); }
  size_t Size() const { return Records.size(); }

 private:
  std::deque<std::u16string> NameStore;
  std::deque<BIOS_SETTING_REQUEST> Records;
};

class ValueList {
 public:
  explicit ValueList(const std::vector<std::pair<std::u16string, uint32_t>> &Entries);
  BIOS_SETTING_VALUE *Head() { return Records.empty() ? nullptr : &Records.front(); }
  BIOS_SETTING_VALUE &operator[](size_t I) { return Records.at(I); }
  std::vector<int> Statuses() const;

 private:
  std::deque<std::u16string> NameStore;
  std::deque<BIOS_SETTING_VALUE> Records;
};

// One option as the client reads it: the text through TextAddress.
struct ClientOption {
  std::u16string Text;
  uint32_t Value;
  bool operator==(const ClientOption &O) const { return Text == O.Text && Value == O.Value; }
};
// Walks a record's option list as a client does, dereferencing every
// 32-bit TextAddress and checking TextLength against the text's NUL.
std::vector<ClientOption> ClientOptions(const BIOS_SETTING_REQUEST &Request);

class SettingsTest : public DriverTest {
 protected:
  // The sample server platform unless a test installs its own export.
  void PreparePlatform() override;
  void SetUp() override;

  // Installs Export as the firmware's HII database and Variables as its
  // variables (replacing what was there); the next operation loads them.
  void UsePlatform(const hiibuild::Bytes &Export,
                   const std::vector<std::pair<std::u16string, hiibuild::VariableImage>> &Variables,
                   const EFI_GUID &Guid);

  EFI_STATUS Get(RequestList &L) { return Proto()->GetSettings(Proto(), L.Head()); }
  EFI_STATUS GetForm(RequestList &L) { return Proto()->GetFormSettings(Proto(), L.Head()); }
  EFI_STATUS Set(ValueList &L) { return Proto()->SetSettings(Proto(), L.Head()); }
  EFI_STATUS SetForm(ValueList &L) { return Proto()->SetFormSettings(Proto(), L.Head()); }

  // The Width bytes at Offset of a variable in the firmware, little-endian.
  uint32_t Stored(const std::u16string &Name, const EFI_GUID &Guid, size_t Offset, int Width);
  // The value of a sample question as the firmware holds it now.
  uint32_t SampleStored(const std::u16string &Prompt, uint16_t FormId);
  uint64_t SetVariableCalls() { return Fw().Calls(sim::Service::SetVariable); }
};

// Two checkboxes share the prompt "Twin" (offsets 0 and 1, holding 1 and
// 0); "Single" at offset 2 holds 1.
class DuplicatePrompts : public SettingsTest {
 protected:
  void SetUp() override;
};

// A small form set for targeted cases: one data table whose IFR is a form
// set (kTestFormSetGuid) around what Body writes; its questions live in
// "Setup" under that GUID, strings in "eng".
extern const EFI_GUID kTestFormSetGuid;
hiibuild::Bytes TestExport(const std::function<void(hiibuild::IfrBuilder &)> &Body);

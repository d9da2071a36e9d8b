// Host-only builders of UEFI 2.x HII package lists (UEFI IFR form packages,
// string packages, device path packages), for tests, fuzz seeds and the
// simulator's firmware drivers. The bytes are what a VFR compiler and a
// UEFI HII database would produce; nothing here checks that the IFR makes
// sense, so tests can also build what no compiler would.
#pragma once

#include "uefi/uefi_ifr.h"

#include <cstdint>
#include <string>
#include <vector>

namespace uefihii {

using Bytes = std::vector<uint8_t>;

// Little-endian appends.
void Put8(Bytes &Out, uint8_t Value);
void Put16(Bytes &Out, uint16_t Value);
void Put32(Bytes &Out, uint32_t Value);
void Put64(Bytes &Out, uint64_t Value);
void PutGuid(Bytes &Out, const EFI_GUID &Guid);
// A value of 1, 2, 4 or 8 bytes.
void PutSized(Bytes &Out, uint64_t Value, unsigned Size);

// A question's header fields.
struct Question {
  EFI_STRING_ID Prompt = 0;
  EFI_STRING_ID Help = 0;
  EFI_QUESTION_ID Id = 0;
  EFI_VARSTORE_ID VarStoreId = 0;  // 0: no storage
  uint16_t VarOffset = 0;          // or the name's string id in a name/value store
  uint8_t Flags = 0;
};

// The UEFI IFR of one form package, opcode by opcode. Scope is the opcode
// header's scope bit; the caller closes every scope with End().
class IfrWriter {
 public:
  void FormSet(const EFI_GUID &Guid, EFI_STRING_ID Title, EFI_STRING_ID Help,
               const std::vector<EFI_GUID> &ClassGuids = {});
  void Form(EFI_FORM_ID Id, EFI_STRING_ID Title);
  void End();
  void VarStore(const EFI_GUID &Guid, EFI_VARSTORE_ID Id, uint16_t Size, const std::string &Name);
  void VarStoreEfi(EFI_VARSTORE_ID Id, const EFI_GUID &Guid, uint32_t Attributes, uint16_t Size,
                   const std::string &Name);
  void VarStoreNameValue(EFI_VARSTORE_ID Id, const EFI_GUID &Guid);
  void DefaultStore(EFI_STRING_ID Name, EFI_DEFAULT_ID Id);

  // Size is 1, 2, 4 or 8 (the flags' numeric size); Flags adds display bits.
  void OneOf(const Question &Q, unsigned Size, uint64_t Min = 0, uint64_t Max = 0, uint64_t Step = 0,
             uint8_t Flags = 0);
  // Type is EFI_IFR_TYPE_NUM_SIZE_x or EFI_IFR_TYPE_BOOLEAN.
  void Option(EFI_STRING_ID Text, uint64_t Value, uint8_t Type, uint8_t Flags = 0);
  void CheckBox(const Question &Q, uint8_t Flags = 0, bool Scope = false);
  void Numeric(const Question &Q, unsigned Size, uint64_t Min, uint64_t Max, uint64_t Step, uint8_t Flags = 0,
               bool Scope = false);
  void Default(EFI_DEFAULT_ID Id, uint8_t Type, uint64_t Value, unsigned Size);
  void String(const Question &Q, uint8_t MinSize, uint8_t MaxSize);
  void Password(const Question &Q, uint16_t MinSize, uint16_t MaxSize);
  void OrderedList(const Question &Q, uint8_t MaxContainers);  // opens a scope
  void Date(const Question &Q);
  void Time(const Question &Q);
  void Action(const Question &Q, EFI_STRING_ID Config);
  void Ref(const Question &Q, EFI_FORM_ID FormId);
  void Subtitle(EFI_STRING_ID Prompt);
  void Text(EFI_STRING_ID Prompt, EFI_STRING_ID Help, EFI_STRING_ID Second = 0);
  // A vendor opcode: GUID, then Data.
  void Guid(const EFI_GUID &Guid, const Bytes &Data = {}, bool Scope = false);
  // EDK2's label: the Tiano GUID, extended opcode 0, a 16-bit number.
  void Label(uint16_t Number);

  // Conditions open a scope; their expression follows, in postfix order.
  void SuppressIf();
  void GrayOutIf();
  void DisableIf();
  void InconsistentIf(EFI_STRING_ID Error);
  void EqIdVal(EFI_QUESTION_ID Id, uint16_t Value);
  void EqIdId(EFI_QUESTION_ID First, EFI_QUESTION_ID Second);
  void EqIdValList(EFI_QUESTION_ID Id, const std::vector<uint16_t> &Values);
  void QuestionRef1(EFI_QUESTION_ID Id);
  void Uint8(uint8_t Value);
  void Uint16(uint16_t Value);
  void Uint32(uint32_t Value);
  void Uint64(uint64_t Value);
  // An operator or constant without operands (AND, OR, NOT, TRUE, FALSE,
  // EQUAL, ADD, ...).
  void Bare(uint8_t OpCode);

  // Any bytes at all, for malformed input.
  void Raw(const Bytes &Data);

  const Bytes &Code() const { return Ifr; }

 private:
  void Op(uint8_t OpCode, const Bytes &Operands, bool Scope);
  void QuestionOp(uint8_t OpCode, const Question &Q, const Bytes &Rest, bool Scope);

  Bytes Ifr;
};

// One string package: the strings get ids 1, 2, ... in the order added,
// as UCS-2 string blocks.
class StringPackage {
 public:
  explicit StringPackage(std::string Language = "en-US") : Language(std::move(Language)) {}
  EFI_STRING_ID Add(const std::u16string &Text);
  // Blocks appended as they are (after the strings added so far), for the
  // block kinds Add never writes.
  void AddBlocks(const Bytes &Blocks, uint16_t IdsTaken);
  EFI_STRING_ID NextId() const { return Next; }
  const std::string &LanguageTag() const { return Language; }
  Bytes Package() const;

 private:
  std::string Language;
  Bytes Blocks;
  EFI_STRING_ID Next = 1;
};

// The device path of a vendor hardware node with Guid, then the end node.
Bytes VendorDevicePath(const EFI_GUID &Guid);

// A package list: its header, the packages in the order added, an end
// package.
class PackageList {
 public:
  explicit PackageList(const EFI_GUID &Guid) : Guid(Guid) {}
  void AddForms(const IfrWriter &Ifr);
  void AddStrings(const StringPackage &Strings);
  void AddDevicePath(const Bytes &DevicePath);
  // A package of any type with Data after its header.
  void AddPackage(uint8_t Type, const Bytes &Data);
  Bytes Build() const;

 private:
  EFI_GUID Guid;
  Bytes Packages;
};

}  // namespace uefihii

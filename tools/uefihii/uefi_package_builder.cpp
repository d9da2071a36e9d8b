#include "tools/uefihii/uefi_package_builder.h"

#include <stdexcept>

namespace uefihii {

namespace {

// EDK2's vendor opcode GUID for labels and other Tiano extensions.
constexpr EFI_GUID TIANO_GUID = {0x0f0b1735, 0x87a0, 0x4193, {0xb2, 0x66, 0x53, 0x8c, 0x38, 0xaf, 0x48, 0xce}};
constexpr size_t MAX_OP_LENGTH = 0x7F;

Bytes QuestionHeader(const Question &Q) {
  Bytes Out;
  Put16(Out, Q.Prompt);
  Put16(Out, Q.Help);
  Put16(Out, Q.Id);
  Put16(Out, Q.VarStoreId);
  Put16(Out, Q.VarOffset);
  Put8(Out, Q.Flags);
  return Out;
}

uint8_t SizeFlag(unsigned Size) {
  switch (Size) {
    case 1: return EFI_IFR_NUMERIC_SIZE_1;
    case 2: return EFI_IFR_NUMERIC_SIZE_2;
    case 4: return EFI_IFR_NUMERIC_SIZE_4;
    case 8: return EFI_IFR_NUMERIC_SIZE_8;
    default: throw std::invalid_argument("numeric size must be 1, 2, 4 or 8");
  }
}

unsigned TypeSize(uint8_t Type) {
  switch (Type) {
    case EFI_IFR_TYPE_NUM_SIZE_8:
    case EFI_IFR_TYPE_BOOLEAN: return 1;
    case EFI_IFR_TYPE_NUM_SIZE_16:
    case EFI_IFR_TYPE_STRING: return 2;
    case EFI_IFR_TYPE_NUM_SIZE_32: return 4;
    case EFI_IFR_TYPE_NUM_SIZE_64: return 8;
    default: return 8;
  }
}

void PutHeader(Bytes &Out, uint32_t Length, uint8_t Type) {
  if (Length > EFI_HII_PACKAGE_MAX_LENGTH) throw std::length_error("package over 16 MiB");
  Put8(Out, static_cast<uint8_t>(Length));
  Put8(Out, static_cast<uint8_t>(Length >> 8));
  Put8(Out, static_cast<uint8_t>(Length >> 16));
  Put8(Out, Type);
}

}  // namespace

void Put8(Bytes &Out, uint8_t Value) { Out.push_back(Value); }
void Put16(Bytes &Out, uint16_t Value) {
  Out.push_back(static_cast<uint8_t>(Value));
  Out.push_back(static_cast<uint8_t>(Value >> 8));
}
void Put32(Bytes &Out, uint32_t Value) {
  Put16(Out, static_cast<uint16_t>(Value));
  Put16(Out, static_cast<uint16_t>(Value >> 16));
}
void Put64(Bytes &Out, uint64_t Value) {
  Put32(Out, static_cast<uint32_t>(Value));
  Put32(Out, static_cast<uint32_t>(Value >> 32));
}
void PutGuid(Bytes &Out, const EFI_GUID &Guid) {
  const auto *Raw = reinterpret_cast<const uint8_t *>(&Guid);
  Out.insert(Out.end(), Raw, Raw + sizeof(EFI_GUID));
}
void PutSized(Bytes &Out, uint64_t Value, unsigned Size) {
  for (unsigned Index = 0; Index < Size; ++Index) Out.push_back(static_cast<uint8_t>(Value >> (8 * Index)));
}

// ---- IFR -------------------------------------------------------------------------------------

void IfrWriter::Op(uint8_t OpCode, const Bytes &Operands, bool Scope) {
  const size_t Length = 2 + Operands.size();
  if (Length > MAX_OP_LENGTH) throw std::length_error("IFR opcode over 127 bytes");
  Ifr.push_back(OpCode);
  Ifr.push_back(static_cast<uint8_t>(Length | (Scope ? 0x80 : 0)));
  Ifr.insert(Ifr.end(), Operands.begin(), Operands.end());
}

void IfrWriter::QuestionOp(uint8_t OpCode, const Question &Q, const Bytes &Rest, bool Scope) {
  Bytes Operands = QuestionHeader(Q);
  Operands.insert(Operands.end(), Rest.begin(), Rest.end());
  Op(OpCode, Operands, Scope);
}

void IfrWriter::FormSet(const EFI_GUID &Guid, EFI_STRING_ID Title, EFI_STRING_ID Help,
                        const std::vector<EFI_GUID> &ClassGuids) {
  Bytes Operands;
  PutGuid(Operands, Guid);
  Put16(Operands, Title);
  Put16(Operands, Help);
  Put8(Operands, static_cast<uint8_t>(ClassGuids.size() & 3));
  for (const EFI_GUID &Class : ClassGuids) PutGuid(Operands, Class);
  Op(EFI_IFR_FORM_SET_OP, Operands, true);
}

void IfrWriter::Form(EFI_FORM_ID Id, EFI_STRING_ID Title) {
  Bytes Operands;
  Put16(Operands, Id);
  Put16(Operands, Title);
  Op(EFI_IFR_FORM_OP, Operands, true);
}

void IfrWriter::End() { Op(EFI_IFR_END_OP, {}, false); }

void IfrWriter::VarStore(const EFI_GUID &Guid, EFI_VARSTORE_ID Id, uint16_t Size, const std::string &Name) {
  Bytes Operands;
  PutGuid(Operands, Guid);
  Put16(Operands, Id);
  Put16(Operands, Size);
  Operands.insert(Operands.end(), Name.begin(), Name.end());
  Operands.push_back(0);
  Op(EFI_IFR_VARSTORE_OP, Operands, false);
}

void IfrWriter::VarStoreEfi(EFI_VARSTORE_ID Id, const EFI_GUID &Guid, uint32_t Attributes, uint16_t Size,
                            const std::string &Name) {
  Bytes Operands;
  Put16(Operands, Id);
  PutGuid(Operands, Guid);
  Put32(Operands, Attributes);
  Put16(Operands, Size);
  Operands.insert(Operands.end(), Name.begin(), Name.end());
  Operands.push_back(0);
  Op(EFI_IFR_VARSTORE_EFI_OP, Operands, false);
}

void IfrWriter::VarStoreNameValue(EFI_VARSTORE_ID Id, const EFI_GUID &Guid) {
  Bytes Operands;
  Put16(Operands, Id);
  PutGuid(Operands, Guid);
  Op(EFI_IFR_VARSTORE_NAME_VALUE_OP, Operands, true);
}

void IfrWriter::DefaultStore(EFI_STRING_ID Name, EFI_DEFAULT_ID Id) {
  Bytes Operands;
  Put16(Operands, Name);
  Put16(Operands, Id);
  Op(EFI_IFR_DEFAULTSTORE_OP, Operands, false);
}

void IfrWriter::OneOf(const Question &Q, unsigned Size, uint64_t Min, uint64_t Max, uint64_t Step, uint8_t Flags) {
  Bytes Rest;
  Put8(Rest, static_cast<uint8_t>(SizeFlag(Size) | Flags));
  PutSized(Rest, Min, Size);
  PutSized(Rest, Max, Size);
  PutSized(Rest, Step, Size);
  QuestionOp(EFI_IFR_ONE_OF_OP, Q, Rest, true);
}

void IfrWriter::Option(EFI_STRING_ID Text, uint64_t Value, uint8_t Type, uint8_t Flags) {
  Bytes Operands;
  Put16(Operands, Text);
  Put8(Operands, Flags);
  Put8(Operands, Type);
  PutSized(Operands, Value, TypeSize(Type));
  Op(EFI_IFR_ONE_OF_OPTION_OP, Operands, false);
}

void IfrWriter::CheckBox(const Question &Q, uint8_t Flags, bool Scope) {
  QuestionOp(EFI_IFR_CHECKBOX_OP, Q, Bytes{Flags}, Scope);
}

void IfrWriter::Numeric(const Question &Q, unsigned Size, uint64_t Min, uint64_t Max, uint64_t Step, uint8_t Flags,
                        bool Scope) {
  Bytes Rest;
  Put8(Rest, static_cast<uint8_t>(SizeFlag(Size) | Flags));
  PutSized(Rest, Min, Size);
  PutSized(Rest, Max, Size);
  PutSized(Rest, Step, Size);
  QuestionOp(EFI_IFR_NUMERIC_OP, Q, Rest, Scope);
}

void IfrWriter::Default(EFI_DEFAULT_ID Id, uint8_t Type, uint64_t Value, unsigned Size) {
  Bytes Operands;
  Put16(Operands, Id);
  Put8(Operands, Type);
  PutSized(Operands, Value, Size);
  Op(EFI_IFR_DEFAULT_OP, Operands, false);
}

void IfrWriter::String(const Question &Q, uint8_t MinSize, uint8_t MaxSize) {
  QuestionOp(EFI_IFR_STRING_OP, Q, Bytes{MinSize, MaxSize, 0}, false);
}

void IfrWriter::Password(const Question &Q, uint16_t MinSize, uint16_t MaxSize) {
  Bytes Rest;
  Put16(Rest, MinSize);
  Put16(Rest, MaxSize);
  QuestionOp(EFI_IFR_PASSWORD_OP, Q, Rest, false);
}

void IfrWriter::OrderedList(const Question &Q, uint8_t MaxContainers) {
  QuestionOp(EFI_IFR_ORDERED_LIST_OP, Q, Bytes{MaxContainers, 0}, true);
}

void IfrWriter::Date(const Question &Q) { QuestionOp(EFI_IFR_DATE_OP, Q, Bytes{0}, false); }
void IfrWriter::Time(const Question &Q) { QuestionOp(EFI_IFR_TIME_OP, Q, Bytes{0}, false); }

void IfrWriter::Action(const Question &Q, EFI_STRING_ID Config) {
  Bytes Rest;
  Put16(Rest, Config);
  QuestionOp(EFI_IFR_ACTION_OP, Q, Rest, false);
}

void IfrWriter::Ref(const Question &Q, EFI_FORM_ID FormId) {
  Bytes Rest;
  Put16(Rest, FormId);
  QuestionOp(EFI_IFR_REF_OP, Q, Rest, false);
}

void IfrWriter::Subtitle(EFI_STRING_ID Prompt) {
  Bytes Operands;
  Put16(Operands, Prompt);
  Put16(Operands, 0);
  Put8(Operands, 0);
  Op(EFI_IFR_SUBTITLE_OP, Operands, false);
}

void IfrWriter::Text(EFI_STRING_ID Prompt, EFI_STRING_ID Help, EFI_STRING_ID Second) {
  Bytes Operands;
  Put16(Operands, Prompt);
  Put16(Operands, Help);
  Put16(Operands, Second);
  Op(EFI_IFR_TEXT_OP, Operands, false);
}

void IfrWriter::Guid(const EFI_GUID &Guid, const Bytes &Data, bool Scope) {
  Bytes Operands;
  PutGuid(Operands, Guid);
  Operands.insert(Operands.end(), Data.begin(), Data.end());
  Op(EFI_IFR_GUID_OP, Operands, Scope);
}

void IfrWriter::Label(uint16_t Number) {
  Bytes Data;
  Put8(Data, 0);  // EFI_IFR_EXTEND_OP_LABEL
  Put16(Data, Number);
  Guid(TIANO_GUID, Data);
}

void IfrWriter::SuppressIf() { Op(EFI_IFR_SUPPRESS_IF_OP, {}, true); }
void IfrWriter::GrayOutIf() { Op(EFI_IFR_GRAY_OUT_IF_OP, {}, true); }
void IfrWriter::DisableIf() { Op(EFI_IFR_DISABLE_IF_OP, {}, true); }

void IfrWriter::InconsistentIf(EFI_STRING_ID Error) {
  Bytes Operands;
  Put16(Operands, Error);
  Op(EFI_IFR_INCONSISTENT_IF_OP, Operands, true);
}

void IfrWriter::EqIdVal(EFI_QUESTION_ID Id, uint16_t Value) {
  Bytes Operands;
  Put16(Operands, Id);
  Put16(Operands, Value);
  Op(EFI_IFR_EQ_ID_VAL_OP, Operands, false);
}

void IfrWriter::EqIdId(EFI_QUESTION_ID First, EFI_QUESTION_ID Second) {
  Bytes Operands;
  Put16(Operands, First);
  Put16(Operands, Second);
  Op(EFI_IFR_EQ_ID_ID_OP, Operands, false);
}

void IfrWriter::EqIdValList(EFI_QUESTION_ID Id, const std::vector<uint16_t> &Values) {
  Bytes Operands;
  Put16(Operands, Id);
  Put16(Operands, static_cast<uint16_t>(Values.size()));
  for (uint16_t Value : Values) Put16(Operands, Value);
  Op(EFI_IFR_EQ_ID_VAL_LIST_OP, Operands, false);
}

void IfrWriter::QuestionRef1(EFI_QUESTION_ID Id) {
  Bytes Operands;
  Put16(Operands, Id);
  Op(EFI_IFR_QUESTION_REF1_OP, Operands, false);
}

void IfrWriter::Uint8(uint8_t Value) { Op(EFI_IFR_UINT8_OP, Bytes{Value}, false); }
void IfrWriter::Uint16(uint16_t Value) {
  Bytes Operands;
  Put16(Operands, Value);
  Op(EFI_IFR_UINT16_OP, Operands, false);
}
void IfrWriter::Uint32(uint32_t Value) {
  Bytes Operands;
  Put32(Operands, Value);
  Op(EFI_IFR_UINT32_OP, Operands, false);
}
void IfrWriter::Uint64(uint64_t Value) {
  Bytes Operands;
  Put64(Operands, Value);
  Op(EFI_IFR_UINT64_OP, Operands, false);
}

void IfrWriter::Bare(uint8_t OpCode) { Op(OpCode, {}, false); }

void IfrWriter::Raw(const Bytes &Data) { Ifr.insert(Ifr.end(), Data.begin(), Data.end()); }

// ---- strings ------------------------------------------------------------------------------------

EFI_STRING_ID StringPackage::Add(const std::u16string &Text) {
  Blocks.push_back(EFI_HII_SIBT_STRING_UCS2);
  for (char16_t Unit : Text) Put16(Blocks, static_cast<uint16_t>(Unit));
  Put16(Blocks, 0);
  return Next++;
}

void StringPackage::AddBlocks(const Bytes &More, uint16_t IdsTaken) {
  Blocks.insert(Blocks.end(), More.begin(), More.end());
  Next = static_cast<EFI_STRING_ID>(Next + IdsTaken);
}

Bytes StringPackage::Package() const {
  const uint32_t HeaderSize = static_cast<uint32_t>(offsetof(EFI_HII_STRING_PACKAGE_HDR, Language) + Language.size() + 1);
  Bytes Out;
  PutHeader(Out, static_cast<uint32_t>(HeaderSize + Blocks.size() + 1), EFI_HII_PACKAGE_STRINGS);
  Put32(Out, HeaderSize);
  Put32(Out, HeaderSize);
  for (int Unit = 0; Unit < 16; ++Unit) Put16(Out, 0);  // LanguageWindow
  Put16(Out, 0);                                        // LanguageName
  Out.insert(Out.end(), Language.begin(), Language.end());
  Out.push_back(0);
  Out.insert(Out.end(), Blocks.begin(), Blocks.end());
  Out.push_back(EFI_HII_SIBT_END);
  return Out;
}

// ---- device paths and package lists -------------------------------------------------------------

Bytes VendorDevicePath(const EFI_GUID &Guid) {
  Bytes Out{HARDWARE_DEVICE_PATH, HW_VENDOR_DP, 20, 0};
  PutGuid(Out, Guid);
  Out.insert(Out.end(), {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});
  return Out;
}

void PackageList::AddPackage(uint8_t Type, const Bytes &Data) {
  PutHeader(Packages, static_cast<uint32_t>(EFI_HII_PACKAGE_HEADER_SIZE + Data.size()), Type);
  Packages.insert(Packages.end(), Data.begin(), Data.end());
}

void PackageList::AddForms(const IfrWriter &Ifr) { AddPackage(EFI_HII_PACKAGE_FORMS, Ifr.Code()); }

void PackageList::AddStrings(const StringPackage &Strings) {
  const Bytes Package = Strings.Package();
  Packages.insert(Packages.end(), Package.begin(), Package.end());
}

void PackageList::AddDevicePath(const Bytes &DevicePath) { AddPackage(EFI_HII_PACKAGE_DEVICE_PATH, DevicePath); }

Bytes PackageList::Build() const {
  Bytes Out;
  PutGuid(Out, Guid);
  Put32(Out, static_cast<uint32_t>(sizeof(EFI_HII_PACKAGE_LIST_HEADER) + Packages.size() + EFI_HII_PACKAGE_HEADER_SIZE));
  Out.insert(Out.end(), Packages.begin(), Packages.end());
  PutHeader(Out, EFI_HII_PACKAGE_HEADER_SIZE, EFI_HII_PACKAGE_END);
  return Out;
}

}  // namespace uefihii

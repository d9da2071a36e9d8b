#include "hiibuild/host/byte_writer.h"

#include "hiibuild/little_endian.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace hiibuild {

uint8_t *ByteWriter::Grow(size_t Count) {
  Out.resize(Out.size() + Count);
  return Out.data() + Out.size() - Count;
}

ByteWriter &ByteWriter::U16(uint16_t V) {
  PutLe16(Grow(2), V);
  return *this;
}

ByteWriter &ByteWriter::U32(uint32_t V) {
  PutLe32(Grow(4), V);
  return *this;
}

ByteWriter &ByteWriter::U64(uint64_t V) { return U32(static_cast<uint32_t>(V)).U32(static_cast<uint32_t>(V >> 32)); }

ByteWriter &ByteWriter::Guid(const EFI_GUID &G) {
  uint8_t *At = Grow(sizeof(EFI_GUID));
  ByteCursor(At, At + sizeof(EFI_GUID)).Guid(G);
  return *this;
}

ByteWriter &ByteWriter::WideZ(const std::u16string &Text) {
  for (char16_t C : Text) U16(C);
  return U16(0);
}

ByteWriter &ByteWriter::AsciiZ(const std::string &Text) {
  for (char C : Text) U8(static_cast<uint8_t>(C));
  return U8(0);
}

static void CheckRange(const Bytes &Image, size_t Offset, size_t Width) {
  if (Offset > Image.size() || Image.size() - Offset < Width)
    throw std::out_of_range("field beyond the end of the image");
}

void PutU32(Bytes &Image, size_t Offset, uint32_t Value) {
  CheckRange(Image, Offset, 4);
  PutLe32(Image.data() + Offset, Value);
}

uint16_t GetU16(const Bytes &Image, size_t Offset) {
  CheckRange(Image, Offset, 2);
  return GetLe16(Image.data() + Offset);
}

uint32_t GetU32(const Bytes &Image, size_t Offset) {
  CheckRange(Image, Offset, 4);
  return GetLe32(Image.data() + Offset);
}

EFI_GUID GetGuid(const Bytes &Image, size_t Offset) {
  CheckRange(Image, Offset, 16);
  EFI_GUID G{};
  G.Data1 = GetU32(Image, Offset);
  G.Data2 = GetU16(Image, Offset + 4);
  G.Data3 = GetU16(Image, Offset + 6);
  for (size_t I = 0; I < 8; ++I) G.Data4[I] = Image[Offset + 8 + I];
  return G;
}

std::u16string GetWideZ(const Bytes &Image, size_t Offset) {
  std::u16string Text;
  for (size_t At = Offset;; At += 2) {
    char16_t C = static_cast<char16_t>(GetU16(Image, At));
    if (C == 0) return Text;
    Text.push_back(C);
  }
}

EFI_GUID ReadGuid(const void *Address) {
  EFI_GUID G;
  std::memcpy(&G, Address, sizeof G);
  return G;
}

static char16_t WideUnitAt(const void *Address, size_t Index) {
  char16_t Unit;
  std::memcpy(&Unit, static_cast<const uint8_t *>(Address) + 2 * Index, sizeof Unit);
  return Unit;
}

std::u16string ReadWide(const void *Address, size_t Length) {
  std::u16string Text;
  for (size_t I = 0; I < Length; ++I) Text.push_back(WideUnitAt(Address, I));
  return Text;
}

std::u16string ReadWideZ(const void *Address) {
  std::u16string Text;
  for (size_t I = 0;; ++I) {
    char16_t Unit = WideUnitAt(Address, I);
    if (Unit == 0) return Text;
    Text.push_back(Unit);
  }
}

bool GuidsEqual(const EFI_GUID &A, const EFI_GUID &B) {
  if (A.Data1 != B.Data1 || A.Data2 != B.Data2 || A.Data3 != B.Data3) return false;
  for (int I = 0; I < 8; ++I)
    if (A.Data4[I] != B.Data4[I]) return false;
  return true;
}

std::string GuidToString(const EFI_GUID &G) {
  char Text[40];
  std::snprintf(Text, sizeof Text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                static_cast<unsigned>(G.Data1), G.Data2, G.Data3, G.Data4[0], G.Data4[1],
                G.Data4[2], G.Data4[3], G.Data4[4], G.Data4[5], G.Data4[6], G.Data4[7]);
  return Text;
}

bool ParseGuid(const std::string &Text, EFI_GUID &Out) {
  std::string Body = Text;
  if (Body.size() == 38 && Body.front() == '{' && Body.back() == '}') Body = Body.substr(1, 36);
  if (Body.size() != 36) return false;
  std::string Hex;
  for (size_t I = 0; I < Body.size(); ++I) {
    bool DashPlace = I == 8 || I == 13 || I == 18 || I == 23;
    if (DashPlace) {
      if (Body[I] != '-') return false;
      continue;
    }
    if (!std::isxdigit(static_cast<unsigned char>(Body[I]))) return false;
    Hex.push_back(Body[I]);
  }
  auto Field = [&Hex](size_t At, size_t Digits) {
    return std::stoull(Hex.substr(At, Digits), nullptr, 16);
  };
  Out.Data1 = static_cast<UINT32>(Field(0, 8));
  Out.Data2 = static_cast<UINT16>(Field(8, 4));
  Out.Data3 = static_cast<UINT16>(Field(12, 4));
  for (size_t I = 0; I < 8; ++I) Out.Data4[I] = static_cast<UINT8>(Field(16 + 2 * I, 2));
  return true;
}

}  // namespace hiibuild

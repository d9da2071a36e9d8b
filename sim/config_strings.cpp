#include "sim/config_strings.h"

namespace sim {
namespace {

constexpr char16_t HEX[] = u"0123456789abcdef";

void AppendHexByte(std::u16string &Out, uint8_t Byte) {
  Out.push_back(HEX[Byte >> 4]);
  Out.push_back(HEX[Byte & 0xF]);
}

void AppendNumber(std::u16string &Out, uint64_t Value) {
  std::u16string Digits;
  do {
    Digits.insert(Digits.begin(), HEX[Value & 0xF]);
    Value >>= 4;
  } while (Value != 0);
  Out += Digits;
}

int HexDigit(char16_t C) {
  if (C >= u'0' && C <= u'9') return C - u'0';
  if (C >= u'a' && C <= u'f') return C - u'a' + 10;
  if (C >= u'A' && C <= u'F') return C - u'A' + 10;
  return -1;
}

std::optional<uint64_t> ParseNumber(const std::u16string &Digits) {
  if (Digits.empty() || Digits.size() > 16) return std::nullopt;
  uint64_t Value = 0;
  for (char16_t C : Digits) {
    const int D = HexDigit(C);
    if (D < 0) return std::nullopt;
    Value = (Value << 4) | static_cast<uint64_t>(D);
  }
  return Value;
}

std::optional<std::vector<uint8_t>> ParseBytes(const std::u16string &Digits) {
  if (Digits.size() % 2 != 0) return std::nullopt;
  std::vector<uint8_t> Out;
  for (size_t Index = 0; Index < Digits.size(); Index += 2) {
    const int High = HexDigit(Digits[Index]);
    const int Low = HexDigit(Digits[Index + 1]);
    if (High < 0 || Low < 0) return std::nullopt;
    Out.push_back(static_cast<uint8_t>(High << 4 | Low));
  }
  return Out;
}

// Fields "NAME=value" separated by '&'.
struct Field {
  std::u16string Key;
  std::u16string Value;
  size_t At;
};

std::vector<Field> SplitFields(const std::u16string &Text) {
  std::vector<Field> Fields;
  size_t Start = 0;
  while (Start <= Text.size()) {
    size_t End = Text.find(u'&', Start);
    if (End == std::u16string::npos) End = Text.size();
    const std::u16string Part = Text.substr(Start, End - Start);
    const size_t Equals = Part.find(u'=');
    Field F;
    F.At = Start;
    F.Key = Equals == std::u16string::npos ? Part : Part.substr(0, Equals);
    F.Value = Equals == std::u16string::npos ? u"" : Part.substr(Equals + 1);
    Fields.push_back(F);
    if (End == Text.size()) break;
    Start = End + 1;
  }
  return Fields;
}

}  // namespace

std::u16string GuidHex(const EFI_GUID &Guid) {
  std::u16string Out;
  const auto *Bytes = reinterpret_cast<const uint8_t *>(&Guid);
  for (size_t Index = 0; Index < sizeof(EFI_GUID); ++Index) AppendHexByte(Out, Bytes[Index]);
  return Out;
}

std::u16string NameHex(const std::u16string &Name) {
  std::u16string Out;
  for (char16_t Unit : Name) {
    AppendHexByte(Out, static_cast<uint8_t>(Unit >> 8));
    AppendHexByte(Out, static_cast<uint8_t>(Unit));
  }
  return Out;
}

std::u16string ConfigHeader(const EFI_GUID &Guid, const std::u16string &Name, const std::vector<uint8_t> &DevicePath) {
  std::u16string Out = u"GUID=" + GuidHex(Guid) + u"&NAME=" + NameHex(Name) + u"&PATH=";
  for (uint8_t Byte : DevicePath) AppendHexByte(Out, Byte);
  return Out;
}

std::u16string RequestElement(uint64_t Offset, uint64_t Width) {
  std::u16string Out = u"&OFFSET=";
  AppendNumber(Out, Offset);
  Out += u"&WIDTH=";
  AppendNumber(Out, Width);
  return Out;
}

std::u16string ValueElement(uint64_t Offset, uint64_t Width, const std::vector<uint8_t> &Bytes) {
  std::u16string Out = RequestElement(Offset, Width) + u"&VALUE=";
  for (uint64_t Index = Width; Index > 0; --Index) {
    const uint64_t At = Offset + Index - 1;
    AppendHexByte(Out, At < Bytes.size() ? Bytes[At] : 0);
  }
  return Out;
}

std::optional<std::vector<ConfigBlock>> ParseConfig(const std::u16string &Text, size_t *Failed) {
  std::vector<ConfigBlock> Blocks;
  const std::vector<Field> Fields = SplitFields(Text);
  auto Fail = [&](size_t At) -> std::optional<std::vector<ConfigBlock>> {
    if (Failed != nullptr) *Failed = At;
    return std::nullopt;
  };
  size_t Index = 0;
  while (Index < Fields.size()) {
    // GUID=, NAME=, PATH= open every block.
    if (Index + 2 >= Fields.size() || Fields[Index].Key != u"GUID" || Fields[Index + 1].Key != u"NAME" ||
        Fields[Index + 2].Key != u"PATH")
      return Fail(Fields[Index].At);
    ConfigBlock Block;
    Block.Start = Fields[Index].At;
    Block.Guid = Fields[Index].Value;
    Block.Name = Fields[Index + 1].Value;
    const auto Path = ParseBytes(Fields[Index + 2].Value);
    if (!Path || Block.Guid.size() != 32) return Fail(Fields[Index].At);
    Block.Path = *Path;
    const size_t HeaderEnd = Fields[Index + 2].At + 5 + Fields[Index + 2].Value.size();
    Block.Header = Text.substr(Block.Start, HeaderEnd - Block.Start);
    Index += 3;
    if (Index < Fields.size() && Fields[Index].Key == u"ALTCFG") Block.AltCfg = Fields[Index++].Value;
    while (Index < Fields.size() && Fields[Index].Key != u"GUID") {
      if (Fields[Index].Key != u"OFFSET" || Index + 1 >= Fields.size() || Fields[Index + 1].Key != u"WIDTH")
        return Fail(Fields[Index].At);
      ConfigElement Element;
      const auto Offset = ParseNumber(Fields[Index].Value);
      const auto Width = ParseNumber(Fields[Index + 1].Value);
      if (!Offset || !Width) return Fail(Fields[Index].At);
      Element.Offset = *Offset;
      Element.Width = *Width;
      Index += 2;
      if (Index < Fields.size() && Fields[Index].Key == u"VALUE") {
        const auto Value = ParseBytes(Fields[Index].Value);
        if (!Value || Value->size() != Element.Width) return Fail(Fields[Index].At);
        // The text gives the last byte first.
        Element.Value = std::vector<uint8_t>(Value->rbegin(), Value->rend());
        ++Index;
      }
      Block.Elements.push_back(Element);
    }
    Blocks.push_back(std::move(Block));
  }
  return Blocks;
}

std::optional<std::u16string> ReadConfigText(const CHAR16 *Text, size_t Max) {
  if (Text == nullptr) return std::nullopt;
  std::u16string Out;
  for (size_t Index = 0; Index < Max; ++Index) {
    if (Text[Index] == 0) return Out;
    Out.push_back(static_cast<char16_t>(Text[Index]));
  }
  return std::nullopt;
}

}  // namespace sim

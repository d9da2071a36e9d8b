#include "tools/strc/catalog_image.h"

#include "tools/strc/catalog_source.h"

#include <fstream>
#include <sstream>

namespace strc {
namespace {

void PutUint32(std::vector<uint8_t> &Out, size_t At, uint32_t Value) {
  for (int Byte = 0; Byte < 4; ++Byte) Out[At + Byte] = static_cast<uint8_t>(Value >> (8 * Byte));
}

void AppendUint16(std::vector<uint8_t> &Out, uint16_t Value) {
  Out.push_back(static_cast<uint8_t>(Value));
  Out.push_back(static_cast<uint8_t>(Value >> 8));
}

}  // namespace

std::vector<uint8_t> BuildCatalogImage(const std::vector<std::u16string> &Messages) {
  const auto Count = static_cast<uint32_t>(Messages.size());
  std::vector<uint8_t> Image(4 + 8 * static_cast<size_t>(Count), 0);
  PutUint32(Image, 0, Count);
  for (uint32_t N = 0; N < Count; ++N) {
    PutUint32(Image, 4 + 4 * N, static_cast<uint32_t>(Image.size()));
    PutUint32(Image, 4 + 4 * (Count + N), static_cast<uint32_t>(Messages[N].size() + 1));
    for (char16_t C : Messages[N]) AppendUint16(Image, static_cast<uint16_t>(C));
    AppendUint16(Image, 0);
  }
  const uint16_t Sum = CatalogWordSum(Image);
  if (Sum != 0) AppendUint16(Image, static_cast<uint16_t>(0x10000 - Sum));
  return Image;
}

uint16_t CatalogWordSum(const std::vector<uint8_t> &Image) {
  uint16_t Sum = 0;
  for (size_t I = 0; I + 1 < Image.size(); I += 2)
    Sum = static_cast<uint16_t>(Sum + (Image[I] | (Image[I + 1] << 8)));
  return Sum;
}

bool WriteCatalogFromSource(const std::string &SourcePath, const std::string &OutputPath,
                            std::string &Error) {
  std::ifstream In(SourcePath, std::ios::binary);
  if (!In) {
    Error = SourcePath + ": cannot open";
    return false;
  }
  std::stringstream Text;
  Text << In.rdbuf();
  const SourceParseResult Parsed = ParseCatalogSource(Text.str());
  if (!Parsed.Ok) {
    Error = SourcePath + ": " + Parsed.Error;
    return false;
  }
  const std::vector<uint8_t> Image = BuildCatalogImage(Parsed.Messages);
  std::ofstream Out(OutputPath, std::ios::binary | std::ios::trunc);
  Out.write(reinterpret_cast<const char *>(Image.data()), static_cast<std::streamsize>(Image.size()));
  Out.close();
  if (!Out) {
    Error = OutputPath + ": cannot write";
    return false;
  }
  return true;
}

}  // namespace strc

#include "sim/device_path.h"

#include <cstring>

namespace sim {
namespace {

struct NodeView {
  uint8_t Type;
  uint8_t SubType;
  uint16_t Length;
};

NodeView ReadNode(const uint8_t *At) {
  return NodeView{At[0], At[1], static_cast<uint16_t>(At[2] | (At[3] << 8))};
}

bool IsEnd(const NodeView &Node) { return Node.Type == END_DEVICE_PATH_TYPE; }

void PushNode(DevicePathBytes &Out, uint8_t Type, uint8_t SubType, const void *Data, size_t Size) {
  const size_t Length = 4 + Size;
  Out.push_back(Type);
  Out.push_back(SubType);
  Out.push_back(static_cast<uint8_t>(Length & 0xFF));
  Out.push_back(static_cast<uint8_t>(Length >> 8));
  const auto *Bytes = static_cast<const uint8_t *>(Data);
  Out.insert(Out.end(), Bytes, Bytes + Size);
}

void PushEnd(DevicePathBytes &Out) { PushNode(Out, END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, nullptr, 0); }

// Visits the nodes before the end node; false when the path is malformed.
template <class Visitor> bool WalkNodes(const void *Path, Visitor &&Visit) {
  if (Path == nullptr) return false;
  const auto *At = static_cast<const uint8_t *>(Path);
  size_t Offset = 0;
  while (Offset + 4 <= MAX_DEVICE_PATH_BYTES) {
    const NodeView Node = ReadNode(At + Offset);
    if (IsEnd(Node)) return true;
    if (Node.Length < 4 || Offset + Node.Length > MAX_DEVICE_PATH_BYTES) return false;
    Visit(At + Offset, Node);
    Offset += Node.Length;
  }
  return false;
}

}  // namespace

DevicePathBytes EndOnlyDevicePath() {
  DevicePathBytes Out;
  PushEnd(Out);
  return Out;
}

DevicePathBytes VolumeDevicePath(size_t Index) {
  // Vendor GUID chosen for the simulator's volumes; the index follows it
  // big-endian so that byte-wise order is mount order.
  static const EFI_GUID VolumeVendor = {0x5d1b7c2e, 0x61a4, 0x4b8e, {0x9a, 0x0f, 0x3c, 0x55, 0x18, 0xe2, 0x70, 0xb4}};
  uint8_t Data[sizeof(EFI_GUID) + 4];
  std::memcpy(Data, &VolumeVendor, sizeof(EFI_GUID));
  for (int Byte = 0; Byte < 4; ++Byte) Data[sizeof(EFI_GUID) + Byte] = static_cast<uint8_t>(Index >> (8 * (3 - Byte)));
  DevicePathBytes Out;
  PushNode(Out, HARDWARE_DEVICE_PATH_TYPE, VENDOR_SUBTYPE, Data, sizeof Data);
  PushEnd(Out);
  return Out;
}

DevicePathBytes FilePathDevicePath(const std::u16string &Path) {
  std::vector<uint8_t> Text((Path.size() + 1) * 2, 0);
  std::memcpy(Text.data(), Path.data(), Path.size() * 2);
  DevicePathBytes Out;
  PushNode(Out, MEDIA_DEVICE_PATH_TYPE, FILE_PATH_SUBTYPE, Text.data(), Text.size());
  PushEnd(Out);
  return Out;
}

DevicePathBytes AppendDevicePath(const DevicePathBytes &A, const DevicePathBytes &B) {
  const std::optional<size_t> Payload = DevicePathPayloadSize(A.data());
  DevicePathBytes Out(A.begin(), A.begin() + static_cast<ptrdiff_t>(Payload.value_or(0)));
  Out.insert(Out.end(), B.begin(), B.end());
  return Out;
}

std::optional<size_t> DevicePathPayloadSize(const void *Path) {
  size_t Size = 0;
  if (!WalkNodes(Path, [&](const uint8_t *, const NodeView &Node) { Size += Node.Length; })) return std::nullopt;
  return Size;
}

std::optional<DevicePathBytes> CopyDevicePath(const void *Path) {
  const std::optional<size_t> Payload = DevicePathPayloadSize(Path);
  if (!Payload) return std::nullopt;
  const auto *Bytes = static_cast<const uint8_t *>(Path);
  DevicePathBytes Out(Bytes, Bytes + *Payload);
  PushEnd(Out);
  return Out;
}

std::optional<size_t> MatchDevicePathPrefix(const void *Prefix, const void *Path) {
  const std::optional<size_t> PrefixSize = DevicePathPayloadSize(Prefix);
  const std::optional<size_t> PathSize = DevicePathPayloadSize(Path);
  if (!PrefixSize || !PathSize || *PrefixSize > *PathSize) return std::nullopt;
  // Both walks are well-formed, so comparing node by node is comparing the
  // prefix's bytes, as long as each prefix node ends on a node boundary of Path.
  const auto *P = static_cast<const uint8_t *>(Prefix);
  const auto *Q = static_cast<const uint8_t *>(Path);
  size_t Offset = 0;
  while (Offset < *PrefixSize) {
    const NodeView A = ReadNode(P + Offset);
    const NodeView B = ReadNode(Q + Offset);
    if (A.Length != B.Length || std::memcmp(P + Offset, Q + Offset, A.Length) != 0) return std::nullopt;
    Offset += A.Length;
  }
  return *PrefixSize;
}

std::optional<std::u16string> FilePathText(const void *Path) {
  std::u16string Text;
  bool AllFileNodes = true;
  const bool WellFormed = WalkNodes(Path, [&](const uint8_t *At, const NodeView &Node) {
    if (Node.Type != MEDIA_DEVICE_PATH_TYPE || Node.SubType != FILE_PATH_SUBTYPE) {
      AllFileNodes = false;
      return;
    }
    std::u16string Part;
    for (size_t Offset = 4; Offset + 1 < Node.Length; Offset += 2) {
      const char16_t Unit = static_cast<char16_t>(At[Offset] | (At[Offset + 1] << 8));
      if (Unit == 0) break;
      Part.push_back(Unit);
    }
    const bool NeedsSeparator = !Text.empty() && Text.back() != u'\\' && !Part.empty() && Part.front() != u'\\';
    if (NeedsSeparator) Text.push_back(u'\\');
    Text += Part;
  });
  if (!WellFormed || !AllFileNodes) return std::nullopt;
  return Text;
}

}  // namespace sim

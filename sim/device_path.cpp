#include "sim/device_path.h"

#include <cstdio>
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

DevicePathBytes PciDevicePath(uint8_t Device, uint8_t Function) {
  // PNP0A03 (a PCI root bridge) in the EISA encoding ACPI nodes use, UID 0.
  const uint8_t Acpi[8] = {0xD0, 0x41, 0x03, 0x0A, 0, 0, 0, 0};
  const uint8_t Pci[2] = {Function, Device};
  DevicePathBytes Out;
  PushNode(Out, ACPI_DEVICE_PATH_TYPE, ACPI_SUBTYPE, Acpi, sizeof Acpi);
  PushNode(Out, HARDWARE_DEVICE_PATH_TYPE, PCI_SUBTYPE, Pci, sizeof Pci);
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

namespace {

std::string Hex(uint64_t Value) {
  char Text[24];
  std::snprintf(Text, sizeof Text, "0x%llX", static_cast<unsigned long long>(Value));
  return Text;
}

uint32_t Le32(const uint8_t *At) {
  return At[0] | (uint32_t{At[1]} << 8) | (uint32_t{At[2]} << 16) | (uint32_t{At[3]} << 24);
}

std::string GuidText(const uint8_t *At) {
  char Text[40];
  std::snprintf(Text, sizeof Text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Le32(At),
                At[4] | (At[5] << 8), At[6] | (At[7] << 8), At[8], At[9], At[10], At[11], At[12], At[13], At[14],
                At[15]);
  return Text;
}

// The text a media file-path node holds, up to its NUL.
std::u16string FileNodeText(const uint8_t *At, const NodeView &Node) {
  std::u16string Text;
  for (size_t Offset = 4; Offset + 1 < Node.Length; Offset += 2) {
    const char16_t Unit = static_cast<char16_t>(At[Offset] | (At[Offset + 1] << 8));
    if (Unit == 0) break;
    Text.push_back(Unit);
  }
  return Text;
}

std::string NodeText(const uint8_t *At, const NodeView &Node) {
  const uint8_t *Data = At + 4;
  const size_t Size = Node.Length - 4;
  if (Node.Type == ACPI_DEVICE_PATH_TYPE && Node.SubType == ACPI_SUBTYPE && Size == 8 && Le32(Data) == 0x0A0341D0)
    return "PciRoot(" + Hex(Le32(Data + 4)) + ")";
  if (Node.Type == HARDWARE_DEVICE_PATH_TYPE && Node.SubType == PCI_SUBTYPE && Size == 2)
    return "Pci(" + Hex(Data[1]) + "," + Hex(Data[0]) + ")";
  if (Node.Type == HARDWARE_DEVICE_PATH_TYPE && Node.SubType == VENDOR_SUBTYPE && Size >= sizeof(EFI_GUID)) {
    std::string Text = "VenHw(" + GuidText(Data);
    if (Size > sizeof(EFI_GUID)) Text += ",";
    for (size_t Index = sizeof(EFI_GUID); Index < Size; ++Index) {
      char Byte[3];
      std::snprintf(Byte, sizeof Byte, "%02X", Data[Index]);
      Text += Byte;
    }
    return Text + ")";
  }
  return "Path(" + std::to_string(Node.Type) + "," + std::to_string(Node.SubType) + ")";
}

}  // namespace

std::u16string DevicePathText(const void *Path) {
  std::u16string Text;
  const bool WellFormed = WalkNodes(Path, [&](const uint8_t *At, const NodeView &Node) {
    if (Node.Type == MEDIA_DEVICE_PATH_TYPE && Node.SubType == FILE_PATH_SUBTYPE) {
      Text += FileNodeText(At, Node);
      return;
    }
    if (!Text.empty()) Text += u'/';
    for (char C : NodeText(At, Node)) Text += static_cast<char16_t>(C);
  });
  return WellFormed ? Text : std::u16string();
}

std::optional<std::u16string> FilePathText(const void *Path) {
  std::u16string Text;
  bool AllFileNodes = true;
  const bool WellFormed = WalkNodes(Path, [&](const uint8_t *At, const NodeView &Node) {
    if (Node.Type != MEDIA_DEVICE_PATH_TYPE || Node.SubType != FILE_PATH_SUBTYPE) {
      AllFileNodes = false;
      return;
    }
    const std::u16string Part = FileNodeText(At, Node);
    const bool NeedsSeparator = !Text.empty() && Text.back() != u'\\' && !Part.empty() && Part.front() != u'\\';
    if (NeedsSeparator) Text.push_back(u'\\');
    Text += Part;
  });
  if (!WellFormed || !AllFileNodes) return std::nullopt;
  return Text;
}

}  // namespace sim

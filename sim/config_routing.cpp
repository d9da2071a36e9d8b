// Config Routing (EFI_HII_CONFIG_ROUTING_PROTOCOL) over the simulated HII
// database: ExtractConfig and RouteConfig find a <ConfigHdr>'s store in the
// package list whose device path is its PATH and whose forms declare a
// buffer store of its GUID and NAME, and hand the text to the Config Access
// protocol on that list's driver handle, as EDK2's routing does.
//
// A header that names no elements is completed from the forms (an
// OFFSET/WIDTH element per question of the store) before it goes to the
// owner, and every answer is followed by an ALTCFG=0000 section holding the
// forms' defaults, so readers must stop at the next "&GUID=". When no
// package list declares the store, routing finds the owner by PATH alone,
// as LocateDevicePath finds a handle, and hands it the text as it came
// (no completion, no defaults): a driver may answer to another name than
// its forms declare. EFI variable
// stores are not routed here (nothing in the simulator needs them), and
// ExportConfig, BlockToConfig, ConfigToBlock and GetAltConfig return
// EFI_UNSUPPORTED.
#include "sim/config_strings.h"
#include "sim/ifr_scan.h"
#include "sim/uefi_hii_state.h"

namespace sim {
namespace {

struct Route {
  StoreOwnerRecord *Owner = nullptr;
  std::optional<ScannedStore> Store;  // none when found by PATH alone
};

std::optional<Route> FindRoute(UefiHiiState &Hii, const ConfigBlock &Block) {
  for (const PackageListRecord &List : Hii.Lists) {
    const auto Path = PackageListDevicePath(List.Bytes.data(), List.Bytes.size());
    if (!Path || *Path != Block.Path) continue;
    for (const ScannedStore &Store : ScanBufferStores(List.Bytes.data(), List.Bytes.size())) {
      if (GuidHex(Store.Guid) != Block.Guid || NameHex(Store.Name) != Block.Name) continue;
      StoreOwnerRecord *Owner = OwnerOnHandle(Hii, List.DriverHandle);
      if (Owner == nullptr) return std::nullopt;
      return Route{Owner, Store};
    }
  }
  // By the device path alone: the owner whose handle carries that path.
  for (auto &Owner : Hii.Owners)
    if (Owner->DevicePath == Block.Path) return Route{Owner.get(), std::nullopt};
  return std::nullopt;
}

// The block's text as the caller wrote it, up to the next block.
std::u16string BlockText(const std::u16string &Text, const std::vector<ConfigBlock> &Blocks, size_t Index) {
  const size_t End = Index + 1 < Blocks.size() ? Blocks[Index + 1].Start - 1 : Text.size();
  return Text.substr(Blocks[Index].Start, End - Blocks[Index].Start);
}

std::u16string Defaults(const ConfigBlock &Block, const ScannedStore &Store) {
  std::u16string Out = Block.Header + u"&ALTCFG=0000";
  for (const ScannedField &Field : Store.Fields) {
    if (!Field.Default) continue;
    std::vector<uint8_t> Bytes(static_cast<size_t>(Field.Offset) + Field.Width, 0);
    for (uint16_t Index = 0; Index < Field.Width && Index < 8; ++Index)
      Bytes[Field.Offset + Index] = static_cast<uint8_t>(*Field.Default >> (8 * Index));
    Out += ValueElement(Field.Offset, Field.Width, Bytes);
  }
  return Out;
}

// Reads the caller's text and splits it; Progress points where reading
// stopped on failure.
EFI_STATUS ReadRequest(const EFI_STRING Request, EFI_STRING *Progress, std::u16string &Text,
                       std::vector<ConfigBlock> &Blocks) {
  if (Request == nullptr) {
    *Progress = nullptr;
    return EFI_INVALID_PARAMETER;
  }
  *Progress = Request;
  const auto Read = ReadConfigText(Request);
  if (!Read || Read->rfind(u"GUID=", 0) != 0) return EFI_INVALID_PARAMETER;
  Text = *Read;
  size_t Failed = 0;
  auto Parsed = ParseConfig(Text, &Failed);
  if (!Parsed) {
    *Progress = Request + Failed;
    return EFI_INVALID_PARAMETER;
  }
  Blocks = std::move(*Parsed);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ExtractConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This, const EFI_STRING Request,
                                EFI_STRING *Progress, EFI_STRING *Results) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::ConfigExtract);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || Progress == nullptr || Results == nullptr) return EFI_INVALID_PARAMETER;
  *Results = nullptr;
  std::u16string Text;
  std::vector<ConfigBlock> Blocks;
  EFI_STATUS Status = ReadRequest(Request, Progress, Text, Blocks);
  if (Status != EFI_SUCCESS) return Status;

  UefiHiiState &Hii = ActiveUefiHii();
  std::u16string Answer;
  for (size_t Index = 0; Index < Blocks.size(); ++Index) {
    const ConfigBlock &Block = Blocks[Index];
    *Progress = Request + Block.Start;
    const auto Found = FindRoute(Hii, Block);
    if (!Found) return EFI_NOT_FOUND;
    std::u16string Asked = BlockText(Text, Blocks, Index);
    if (Block.Elements.empty() && Found->Store) {
      Asked = Block.Header;
      for (const ScannedField &Field : Found->Store->Fields)
        Asked += RequestElement(Field.Offset, Field.Width);
    }
    std::u16string Part = Asked;
    if (Asked != Block.Header || !Found->Store) {
      std::vector<CHAR16> Units(Asked.begin(), Asked.end());
      Units.push_back(0);
      EFI_STRING AccessProgress = nullptr;
      EFI_STRING AccessResults = nullptr;
      Status = Found->Owner->Access.ExtractConfig(&Found->Owner->Access, Units.data(), &AccessProgress, &AccessResults);
      if (Status != EFI_SUCCESS) return Status;
      const auto Got = ReadConfigText(AccessResults);
      (void)ReleasePoolBlock(S, AccessResults);
      if (!Got) return EFI_DEVICE_ERROR;
      Part = *Got;
    }
    if (!Answer.empty()) Answer += u"&";
    Answer += Part;
    if (Found->Store) Answer += u"&" + Defaults(Block, *Found->Store);
  }
  Status = PoolText(S, Answer, Results);
  if (Status != EFI_SUCCESS) return Status;
  *Progress = Request + Text.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI RouteConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This, const EFI_STRING Configuration,
                              EFI_STRING *Progress) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::ConfigRoute);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || Progress == nullptr) return EFI_INVALID_PARAMETER;
  std::u16string Text;
  std::vector<ConfigBlock> Blocks;
  EFI_STATUS Status = ReadRequest(Configuration, Progress, Text, Blocks);
  if (Status != EFI_SUCCESS) return Status;

  UefiHiiState &Hii = ActiveUefiHii();
  for (size_t Index = 0; Index < Blocks.size(); ++Index) {
    *Progress = Configuration + Blocks[Index].Start;
    const auto Found = FindRoute(Hii, Blocks[Index]);
    if (!Found) return EFI_NOT_FOUND;
    const std::u16string Part = BlockText(Text, Blocks, Index);
    std::vector<CHAR16> Units(Part.begin(), Part.end());
    Units.push_back(0);
    EFI_STRING AccessProgress = nullptr;
    Status = Found->Owner->Access.RouteConfig(&Found->Owner->Access, Units.data(), &AccessProgress);
    if (Status != EFI_SUCCESS) return Status;
  }
  *Progress = Configuration + Text.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ExportConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *, EFI_STRING *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI BlockToConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *, const EFI_STRING, const UINT8 *, const UINTN,
                                EFI_STRING *, EFI_STRING *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI ConfigToBlock(const EFI_HII_CONFIG_ROUTING_PROTOCOL *, const EFI_STRING, UINT8 *, UINTN *,
                                EFI_STRING *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetAltConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL *, const EFI_STRING, const EFI_GUID *,
                               const EFI_STRING, const EFI_DEVICE_PATH *, const UINT16 *, EFI_STRING *) {
  return EFI_UNSUPPORTED;
}

}  // namespace

void WireConfigRouting(EFI_HII_CONFIG_ROUTING_PROTOCOL &Routing) {
  Routing.ExtractConfig = ExtractConfig;
  Routing.ExportConfig = ExportConfig;
  Routing.RouteConfig = RouteConfig;
  Routing.BlockToConfig = BlockToConfig;
  Routing.ConfigToBlock = ConfigToBlock;
  Routing.GetAltConfig = GetAltConfig;
}

}  // namespace sim

// The simulated platform's state, shared by the files that implement its
// services. Service functions are EFIAPI C-style entry points with no `this`:
// they reach the one live platform through ActiveState().
#pragma once

#include "sim/firmware.h"

extern "C" {
#include <efishell.h>
}

#include <array>
#include <setjmp.h>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace sim {

struct ProtocolEntry {
  EFI_GUID Guid;
  void *Interface;
};

struct HandleRecord {
  uintptr_t Id = 0;
  std::vector<ProtocolEntry> Protocols;  // installation order
};

struct ImageRecord {
  EFI_HANDLE Handle = nullptr;
  std::optional<ImageDescriptor> Descriptor;  // none for CreateLoadedImage
  EFI_LOADED_IMAGE Loaded{};
  std::vector<uint8_t> FilePath;    // file-path node(s) + end, as on the volume
  std::vector<uint8_t> DevicePath;  // volume path + file path: the loaded-image device path
  bool Started = false;
  // While the entry point runs: where Exit unwinds to and what it reports.
  sigjmp_buf *ExitJump = nullptr;
  EFI_STATUS ExitStatus = EFI_SUCCESS;
  UINTN ExitDataSize = 0;
  CHAR16 *ExitData = nullptr;
  // What a Shell hands the image it starts: the parameters protocol over
  // these arguments, and the command line as load options.
  std::vector<std::u16string> Arguments;
  std::vector<CHAR16 *> ArgumentPointers;
  std::u16string CommandLine;
  EFI_SHELL_PARAMETERS_PROTOCOL ShellParameters{};
};

struct Volume {
  size_t Index = 0;
  std::string Folder;
  EFI_HANDLE Handle = nullptr;
  std::vector<uint8_t> DevicePath;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL Protocol{};
};

struct OpenFile;
struct HiiRecord;
struct UefiHiiState;
struct RootBridgeState;
struct PoolHeader;

struct EventRecord {
  uintptr_t Id = 0;
  EFI_EVENT_NOTIFY Notify = nullptr;
  void *Context = nullptr;
};

struct PendingFault {
  Service Target;
  uint64_t CallsLeft;  // fails when this reaches 0
  EFI_STATUS Status;
  std::optional<EFI_GUID> Protocol;  // counts only calls about this protocol
};

struct Firmware::State {
  State();
  ~State();

  // Counts the call and returns the injected failure for it, or EFI_SUCCESS.
  // Services that take a protocol GUID pass it, for faults aimed at one
  // protocol.
  [[nodiscard]] EFI_STATUS Enter(Service S, const EFI_GUID *Protocol = nullptr);
  // For allocations: EFI_OUT_OF_RESOURCES once the allocation budget is spent.
  [[nodiscard]] EFI_STATUS AllocationAllowed() const;
  void AllocationSucceeded();

  // Calls and faults.
  std::array<uint64_t, static_cast<size_t>(Service::Count)> Calls{};
  std::vector<PendingFault> Faults;
  std::optional<uint64_t> AllocationsLeft;

  // Console.
  std::string Console;

  // Memory.
  PoolHeader *PoolBlocks = nullptr;  // live blocks, newest first (pool.cpp)
  size_t PoolBlockCount = 0;
  size_t PoolBytes = 0;
  size_t PeakPoolBytes = 0;
  std::unordered_map<uint64_t, uint64_t> PageRuns;  // address -> pages
  std::multimap<uint64_t, uint64_t> KeptRuns;      // pages -> address: freed, still mapped
  uint64_t KeptBytes = 0;

  // Handle database.
  std::vector<std::unique_ptr<HandleRecord>> Handles;  // creation order
  uintptr_t NextHandleId = 1;
  std::deque<EFI_GUID> InternedGuids;  // stable addresses for ProtocolsPerHandle
  EFI_HANDLE RootDeviceIo = nullptr;
  std::vector<uint8_t> EndOnlyPath;
  uint64_t DeviceIoStandIn = 0;  // the interface: only its address matters

  // Images.
  std::vector<ImageDescriptor> Registered;
  std::vector<std::unique_ptr<ImageRecord>> Images;
  std::vector<ImageRecord *> Running;  // innermost StartImage last
  EFI_HANDLE PlatformImage = nullptr;  // the parent of images the helpers load

  // Variables, in insertion order.
  std::vector<VariableRecord> Variables;

  // Volumes and open files.
  std::vector<std::unique_ptr<Volume>> Volumes;
  std::unordered_map<OpenFile *, std::unique_ptr<OpenFile>> Files;

  // The UEFI Shell's protocol and its map: the device path of fsN: at N.
  std::unique_ptr<EFI_SHELL_PROTOCOL> Shell;
  EFI_HANDLE ShellHandle = nullptr;
  std::vector<std::vector<uint8_t>> ShellMap;

  // Framework HII.
  std::vector<uint8_t> HiiExport;
  std::vector<std::unique_ptr<HiiRecord>> HiiRecords;

  // UEFI 2.x HII and the PCI root bridge, once installed.
  std::unique_ptr<UefiHiiState> UefiHii;
  std::unique_ptr<RootBridgeState> RootBridge;

  // Events waiting for ExitBootServices.
  std::vector<EventRecord> Events;
  uintptr_t NextEventId = 1;

  // Miscellaneous platform services.
  EFI_TPL Tpl = TPL_APPLICATION;
  uint64_t MonotonicCount = 0;
  std::optional<UINTN> WatchdogTimeout;
  bool ResetRequested = false;
};

using State = Firmware::State;

// The live platform's state; aborts with a message when no Firmware exists.
State &ActiveState();

// Wiring of the service tables, one function per area.
// Resets the three tables, every entry EFI_UNSUPPORTED until an area wires it.
void WireSystemTable();
void WireConsole(EFI_SYSTEM_TABLE &System);
void WireMemoryServices(EFI_BOOT_SERVICES &Boot);
void WireHandleServices(EFI_BOOT_SERVICES &Boot);
void WireImageServices(EFI_BOOT_SERVICES &Boot);
void WireVariableServices(EFI_RUNTIME_SERVICES &Runtime);
void WireMiscServices(EFI_BOOT_SERVICES &Boot, EFI_RUNTIME_SERVICES &Runtime);
void WireEventServices(EFI_BOOT_SERVICES &Boot);
EFI_SYSTEM_TABLE *SystemTableInstance();
// Recomputes the header CRCs after a table changed.
void SealTables();

// Handle database internals used by other areas.
HandleRecord *FindHandle(const State &S, EFI_HANDLE Handle);
void *FindInterface(const State &S, EFI_HANDLE Handle, const EFI_GUID &Guid);
// Install/uninstall without counting or fault injection (the firmware's own use).
[[nodiscard]] EFI_STATUS InstallInterface(State &S, EFI_HANDLE *Handle, const EFI_GUID &Guid, void *Interface);
void RemoveHandle(State &S, EFI_HANDLE Handle);
bool SameGuid(const EFI_GUID &A, const EFI_GUID &B);

// Pool memory for results the caller frees with FreePool (pool.cpp).
[[nodiscard]] EFI_STATUS AllocatePoolInternal(State &S, size_t Size, void **Buffer);
// Whether Block is a live pool block: its header carries the signature.
bool IsPoolBlock(const void *Block);
// FreePool without counting or fault injection: EFI_INVALID_PARAMETER for
// anything but a live pool block.
[[nodiscard]] EFI_STATUS ReleasePoolBlock(State &S, void *Block);
// Frees every live block (platform teardown).
void ReleaseAllPool(State &S);
// Unmaps every page run, live or kept for reuse (platform teardown).
void ReleaseAllPages(State &S);

// Files: closes every handle still open on the volumes (platform teardown).
void CloseAllFiles(State &S);
void ConfigureVolumeProtocol(Volume &V);

// Images: the platform's own image handle (the parent the helpers give);
// removing an image and its handle.
EFI_HANDLE CreatePlatformImage(State &S);
void DiscardImage(State &S, ImageRecord *Image);
ImageRecord *FindImage(const State &S, EFI_HANDLE Handle);

}  // namespace sim

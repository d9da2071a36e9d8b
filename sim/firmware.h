// A simulated UEFI firmware for host tests, benchmarks, fuzzers and tools.
//
// One Firmware object at a time is "the platform": it owns a system table
// whose boot and runtime services are EFIAPI functions with the UEFI
// specification's semantics and status codes, a handle database, pool and
// page memory, variables, Simple File System volumes backed by host folders,
// registered images, and a Framework HII database. Driver code sees nothing
// but the system table, exactly as on real firmware.
#pragma once

#include "runtime/uefi.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// Services that can be counted and made to fail.
enum class Service {
  AllocatePool, FreePool, AllocatePages, FreePages,
  GetVariable, SetVariable, GetNextVariableName,
  LocateHandle, HandleProtocol, LocateProtocol, LocateDevicePath,
  InstallProtocolInterface, UninstallProtocolInterface,
  LoadImage, StartImage, UnloadImage, Exit, SetWatchdogTimer,
  OpenVolume, FileOpen, FileClose, FileRead, FileWrite,
  FileGetPosition, FileSetPosition, FileGetInfo, FileFlush,
  HiiExportDatabase,
  FileDelete, FileSetInfo,
  HiiNewPackageList, HiiExportPackageLists, ConfigExtract, ConfigRoute,
  RootBridgeAccess,
  Count
};
const char *ServiceName(Service S);

// An image the simulated volumes can load by file name: its entry point
// (called by StartImage) and the reset of its image-wide state, called by
// LoadImage so that each load starts with fresh data, as firmware gives
// every loaded image fresh .data and .bss.
using ImageEntryPoint = EFI_STATUS (*)(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
struct ImageDescriptor {
  std::string FileName;  // base name, matched without case: "bioscfg.efi"
  ImageEntryPoint Entry = nullptr;
  void (*ResetState)() = nullptr;
  EFI_MEMORY_TYPE DataType = EfiBootServicesData;
};

struct VariableRecord {
  std::u16string Name;
  EFI_GUID Guid{};
  UINT32 Attributes = 0;
  std::vector<uint8_t> Data;
};

// A buffer store a simulated driver owns: Config Access is the only way to
// its bytes.
struct BufferStore {
  EFI_GUID Guid{};
  std::u16string Name;
  std::vector<uint8_t> Bytes;
};
// Whether an owner takes the bytes a change proposes for one of its stores:
// EFI_SUCCESS, or the refusal its RouteConfig returns.
using StoreCheck = std::function<EFI_STATUS(const BufferStore &Proposed)>;

// What the simulated PCI root bridge serves: a memory window at MmioBase,
// the 64 KiB I/O port space, and 256-byte configuration spaces keyed by
// bus << 16 | device << 8 | function (a missing function reads all ones).
struct PciRootBridgeSpaces {
  uint64_t MmioBase = 0;
  std::vector<uint8_t> Mmio;
  std::vector<uint8_t> Io;
  std::map<uint32_t, std::vector<uint8_t>> Config;
};

// {158DEF5A-F656-419C-B027-7A3192C079D2}: where the UEFI Shell keeps `set` values.
extern const EFI_GUID ShellVariableGuid;

class Firmware {
 public:
  Firmware();  // becomes the active platform; at most one at a time
  ~Firmware();
  Firmware(const Firmware &) = delete;
  Firmware &operator=(const Firmware &) = delete;
  static Firmware *Active();

  EFI_SYSTEM_TABLE *SystemTable();
  void SetRevision(UINT32 Revision);  // header revision of the system table

  // Console output (ConOut->OutputString), as UTF-8 with each CHAR16 unit
  // above 0x7F replaced by '?'.
  std::string ConsoleText() const;
  void ClearConsole();

  // Handle database helpers for tests. InstallProtocol goes through the
  // InstallProtocolInterface rules (nullptr Handle = a new handle); it
  // returns the handle, or nullptr when the firmware refused.
  EFI_HANDLE InstallProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid, void *Interface);
  // The interface of Guid on Handle, or nullptr.
  void *FindProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid) const;
  // Every handle carrying Guid, in creation order.
  std::vector<EFI_HANDLE> HandlesWith(const EFI_GUID &Guid) const;
  // The device I/O stand-in on a handle whose device path is only the end
  // node; present by default, removable to test EFI_UNSUPPORTED.
  void RemoveRootDeviceIo();
  EFI_HANDLE RootDeviceIoHandle() const;  // nullptr once removed
  size_t HandleCount() const;

  // Images. LoadImage finds an image only where a file of that name lies on
  // a volume, as firmware reads it from there; RegisterImage tells the
  // simulator which entry point a file of that base name stands for.
  void RegisterImage(const ImageDescriptor &Image);
  // RegisterImage, and a file at Path ("fs0:\tools\bioscfg.efi") on the
  // volume. False when the file cannot be written.
  [[nodiscard]] bool InstallImage(const std::string &Path, const ImageDescriptor &Image);
  // Loads an image by path ("fs0:\\bioscfg.efi", or a bare name found on
  // fs0:) through the LoadImage boot service, as a Shell's `load` does.
  [[nodiscard]] EFI_STATUS LoadImageFile(const std::string &Path, EFI_HANDLE *Handle);
  [[nodiscard]] EFI_STATUS StartImage(EFI_HANDLE Image, EFI_STATUS *ExitStatus = nullptr);
  [[nodiscard]] EFI_STATUS UnloadImage(EFI_HANDLE Image);
  // Gives a loaded image the arguments a UEFI Shell would: the Shell
  // parameters protocol (Argv[0] the program, then Arguments) on its handle
  // and the command line, quoted where needed, as its load options.
  [[nodiscard]] EFI_STATUS SetShellArguments(EFI_HANDLE Image, const std::vector<std::u16string> &Arguments);
  // Load + start; the handle is returned even when the entry point failed.
  [[nodiscard]] EFI_STATUS LoadAndStart(const std::string &Path, EFI_HANDLE *Handle);
  // An image handle as if FilePath ("\\tools\\test.efi") had been loaded
  // from Volume: EFI_LOADED_IMAGE_PROTOCOL and the loaded-image device path,
  // no entry point. For code that needs "the running image" (the runtime).
  EFI_HANDLE CreateLoadedImage(EFI_HANDLE Volume, const std::u16string &FilePath);
  // Whether Image is a loaded image the firmware still knows.
  bool IsImageLoaded(EFI_HANDLE Image) const;

  // Variables.
  void PutVariable(const std::u16string &Name, const EFI_GUID &Guid, UINT32 Attributes,
                   const std::vector<uint8_t> &Data);
  std::optional<VariableRecord> FindVariable(const std::u16string &Name, const EFI_GUID &Guid) const;
  std::vector<VariableRecord> Variables() const;
  void ClearVariables();
  // Stores a variable as the UEFI Shell's `set` does: non-volatile with
  // boot-service access, under ShellVariableGuid, the value as UCS-2
  // without a terminating NUL.
  void SetShellVariable(const std::u16string &Name, const std::u16string &Value);

  // Volumes. MountVolume gives each a hardware vendor device path carrying
  // its mount index, so that they sort by mount index byte-wise and as
  // text, and the Shell and the runtime without a Shell both number them
  // fs0:, fs1: ... in mount order. The second form takes the device path
  // (see device_path.h). Returns the volume's handle.
  EFI_HANDLE MountVolume(const std::string &HostFolder);
  EFI_HANDLE MountVolume(const std::string &HostFolder, std::vector<uint8_t> DevicePath);
  EFI_HANDLE VolumeHandle(size_t Index) const;  // in mount order; nullptr when out of range

  // The UEFI Shell's protocol (EFI_SHELL_PROTOCOL) on a handle of its own,
  // with the map the Shell makes when it starts: the volumes mounted so far,
  // fs0:, fs1: ... in the order of the text form of their device paths.
  // Only GetDevicePathFromMap is served; the other entries are NULL. A
  // second call makes the map again from the volumes mounted by then.
  // Returns the Shell's handle.
  EFI_HANDLE InstallShell();
  // Takes the Shell's handle away again, as if the Shell had exited.
  void RemoveShell();

  // Framework HII database: installs EFI_HII_PROTOCOL (the given GUID) on
  // HandleCount new handles, each serving Export through ExportDatabase with
  // the two-call size protocol.
  // Returns the new handles.
  std::vector<EFI_HANDLE> InstallHii(std::vector<uint8_t> Export, const EFI_GUID &ProtocolGuid,
                                     int HandleCount = 1);
  void SetHiiExport(std::vector<uint8_t> Export);

  // UEFI 2.x HII, as modern firmware has it (sim/README.md): the HII
  // database (EFI_HII_DATABASE_PROTOCOL) and Config Routing on a handle of
  // their own. Returns that handle; a second call returns it again.
  EFI_HANDLE InstallUefiHii();
  // Registers a package list through NewPackageList, as a driver does; a
  // DriverHandle with a device path gives the list its device path package.
  [[nodiscard]] EFI_STATUS AddPackageList(const std::vector<uint8_t> &List, EFI_HANDLE DriverHandle,
                                          void **HiiHandle = nullptr);
  // Makes ExportPackageLists serve exactly Raw (malformed input for tests);
  // nullopt goes back to the database.
  void ServeRawPackageLists(std::optional<std::vector<uint8_t>> Raw);
  // A simulated driver owning Stores through EFI_HII_CONFIG_ACCESS_PROTOCOL,
  // on a new handle with DevicePath. Check (when given) decides whether it
  // takes a change. Returns the handle.
  EFI_HANDLE AddStoreOwner(const std::vector<uint8_t> &DevicePath, std::vector<BufferStore> Stores,
                           StoreCheck Check = {});
  // An owner's store as it holds it now, or nullopt.
  std::optional<BufferStore> OwnedStore(EFI_HANDLE Owner, const EFI_GUID &Guid, const std::u16string &Name) const;
  void SetOwnedStore(EFI_HANDLE Owner, const BufferStore &Store);

  // EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL (segment 0) on a handle whose device path
  // is PciRoot(0x0). Returns the handle; a second call returns it again.
  EFI_HANDLE InstallPciRootBridge();
  PciRootBridgeSpaces &RootBridge();

  // Call counters and fault injection.
  uint64_t Calls(Service S) const;
  void ResetCounters();
  // The Nth call (1-based, counted from now) of S fails with Status, before
  // any side effect: a warning status, too, comes back with nothing done.
  void FailNthCall(Service S, uint64_t N, EFI_STATUS Status);
  // The same, counting only the calls about Protocol (LocateHandle,
  // HandleProtocol, LocateProtocol, LocateDevicePath and the installs).
  void FailNthCall(Service S, uint64_t N, EFI_STATUS Status, const EFI_GUID &Protocol);
  // Every AllocatePool/AllocatePages after the next N succeed fails.
  void FailAllocationsAfter(uint64_t N);
  void ClearFaults();

  // Memory accounting: pool blocks and page runs currently allocated, and
  // the pool bytes now and at their highest since construction or ResetPeak.
  size_t LivePoolBlocks() const;
  size_t LivePageRuns() const;
  size_t LivePoolBytes() const;
  size_t PeakPoolBytes() const;
  void ResetPeak();

  // Platform services with no effect on the host, recorded for tests: the
  // last SetWatchdogTimer timeout (nullopt before any call) and whether
  // ResetSystem was called.
  std::optional<UINTN> WatchdogTimeout() const;
  bool ResetRequested() const;

  // Runs the notification functions of the EVT_SIGNAL_EXIT_BOOT_SERVICES
  // events, as ExitBootServices does (the platform goes on afterwards).
  void SignalExitBootServices();
  size_t EventCount() const;  // events created and not closed

  struct State;  // implementation

 private:
  std::unique_ptr<State> S;
};

}  // namespace sim

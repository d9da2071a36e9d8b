// An open EFI_FILE_PROTOCOL handle on a simulated volume.
//
// Handles operate on the host file directly (pread/pwrite/ftruncate), so the
// host folder shows every write at once and two handles on one file agree.
#pragma once

#include "sim/firmware_state.h"

#include <optional>
#include <string>
#include <vector>

namespace sim {

struct OpenFile {
  EFI_FILE_PROTOCOL Protocol;  // first: callers hold &Protocol
  Volume *Owner = nullptr;
  std::vector<std::string> Components;  // host names below the volume folder
  bool Directory = false;
  bool Writable = false;
  uint64_t Position = 0;       // files
  size_t NextEntry = 0;        // directories: index of the next entry Read returns
  int Descriptor = -1;         // files

  OpenFile();
  ~OpenFile();
  OpenFile(const OpenFile &) = delete;
  OpenFile &operator=(const OpenFile &) = delete;

  std::string HostPath() const;
  bool IsRoot() const { return Components.empty(); }
};

// The OpenFile behind a protocol pointer, or nullptr when the pointer is not
// a handle this platform has open.
OpenFile *FileFromProtocol(State &S, EFI_FILE_PROTOCOL *Protocol);
// The prologue of every EFI_FILE_PROTOCOL service: counts the call, applies
// an injected fault, and finds the handle (EFI_INVALID_PARAMETER for one
// that is not open).
EFI_STATUS EnterFileCall(State &S, Service Call, EFI_FILE_PROTOCOL *Protocol, OpenFile *&File);
// A new handle on Components of Owner; the host file is opened when it is
// not a directory. nullptr when the host refuses.
OpenFile *OpenHandle(State &S, Volume &Owner, std::vector<std::string> Components, bool Writable);
void CloseHandle(State &S, OpenFile *File);

// Resolves Name relative to From (or the root for "\..."), creating the last
// component when Create is set. EFI_SUCCESS and the host components, or the
// status an FAT volume gives.
[[nodiscard]] EFI_STATUS ResolveName(const OpenFile &From, const CHAR16 *Name, bool Create, bool CreateDirectory,
                                     std::vector<std::string> *Components);

// The host name in Folder that a FAT volume takes for Part: the entry
// spelled exactly so, else one that differs only in the case of ASCII
// letters (the least in byte order, should a host folder hold several,
// which a FAT folder cannot). Nothing when no entry matches.
std::optional<std::string> FindEntry(const std::string &Folder, const std::u16string &Part);

// Directory entries as Read returns them: "." and ".." below the root, then
// the host entries sorted by name.
std::vector<std::string> DirectoryEntries(const OpenFile &Directory);

// The host path of the regular file FilePath ("\tools\x.efi", resolved as
// Open resolves names) on a volume, or nothing.
std::optional<std::string> HostFileOf(State &S, const Volume &Owner, const std::u16string &FilePath);

// EFI_FILE_INFO of HostPath, named Name.
std::vector<uint8_t> BuildFileInfo(const std::string &HostPath, const std::u16string &Name);

// The function table of every handle (file_protocol.cpp).
void FillFileProtocol(EFI_FILE_PROTOCOL &Protocol);

// GetInfo/SetInfo, in file_info.cpp.
EFI_STATUS EFIAPI FileGetInfo(EFI_FILE_PROTOCOL *This, EFI_GUID *InformationType, UINTN *BufferSize, VOID *Buffer);
EFI_STATUS EFIAPI FileSetInfo(EFI_FILE_PROTOCOL *This, EFI_GUID *InformationType, UINTN BufferSize, VOID *Buffer);

}  // namespace sim

// EFI_HII_DATABASE_PROTOCOL (UEFI 2.1 and later): the firmware's HII
// database of package lists, each registered with a driver handle.
#pragma once

#include "uefi/hii_packages.h"

struct _EFI_HII_DATABASE_PROTOCOL;
typedef struct _EFI_HII_DATABASE_PROTOCOL EFI_HII_DATABASE_PROTOCOL;

typedef UINTN EFI_HII_DATABASE_NOTIFY_TYPE;

typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_NEW_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                       const EFI_HII_PACKAGE_LIST_HEADER *PackageList,
                                                       EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REMOVE_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          EFI_HII_HANDLE Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UPDATE_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          EFI_HII_HANDLE Handle,
                                                          const EFI_HII_PACKAGE_LIST_HEADER *PackageList);
// Handles of the package lists holding packages of PackageType (0: all).
// *HandleBufferLength in bytes; EFI_BUFFER_TOO_SMALL gives the size needed.
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_LIST_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType,
                                                         const EFI_GUID *PackageGuid, UINTN *HandleBufferLength,
                                                         EFI_HII_HANDLE *Handle);
// Package lists one after another (Handle NULL: all of them), each a
// package list header and its packages; the two-call size protocol.
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_EXPORT_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                           EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                                           EFI_HII_PACKAGE_LIST_HEADER *Buffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REGISTER_NOTIFY)(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType,
                                                              const EFI_GUID *PackageGuid, VOID *PackageNotifyFn,
                                                              EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                                                              EFI_HANDLE *NotifyHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UNREGISTER_NOTIFY)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                                EFI_HANDLE NotificationHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_FIND_KEYBOARD_LAYOUTS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                           UINT16 *KeyGuidBufferLength, EFI_GUID *KeyGuidBuffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                         const EFI_GUID *KeyGuid, UINT16 *KeyboardLayoutLength,
                                                         VOID *KeyboardLayout);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                         const EFI_GUID *KeyGuid);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_GET_PACK_HANDLE)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                              EFI_HII_HANDLE PackageListHandle,
                                                              EFI_HANDLE *DriverHandle);

struct _EFI_HII_DATABASE_PROTOCOL {
  EFI_HII_DATABASE_NEW_PACK NewPackageList;
  EFI_HII_DATABASE_REMOVE_PACK RemovePackageList;
  EFI_HII_DATABASE_UPDATE_PACK UpdatePackageList;
  EFI_HII_DATABASE_LIST_PACKS ListPackageLists;
  EFI_HII_DATABASE_EXPORT_PACKS ExportPackageLists;
  EFI_HII_DATABASE_REGISTER_NOTIFY RegisterPackageNotify;
  EFI_HII_DATABASE_UNREGISTER_NOTIFY UnregisterPackageNotify;
  EFI_HII_FIND_KEYBOARD_LAYOUTS FindKeyboardLayouts;
  EFI_HII_GET_KEYBOARD_LAYOUT GetKeyboardLayout;
  EFI_HII_SET_KEYBOARD_LAYOUT SetKeyboardLayout;
  EFI_HII_DATABASE_GET_PACK_HANDLE GetPackageListHandle;
};
static_assert(sizeof(EFI_HII_DATABASE_PROTOCOL) == 11 * sizeof(void *));
static_assert(offsetof(EFI_HII_DATABASE_PROTOCOL, ExportPackageLists) == 4 * sizeof(void *));
static_assert(offsetof(EFI_HII_DATABASE_PROTOCOL, GetPackageListHandle) == 10 * sizeof(void *));

// {EF9FC172-A1B2-4693-B327-6D32FC416042}
inline constexpr EFI_GUID gEfiHiiDatabaseProtocolGuid = {
    0xef9fc172, 0xa1b2, 0x4693, {0xb3, 0x27, 0x6d, 0x32, 0xfc, 0x41, 0x60, 0x42}};

/*
 * The Framework HII protocol interface as the simulator serves it: a C
 * layout of the record whose fourth entry is ExportDatabase. Only the
 * simulator uses this header; the driver has its own definition.
 */
#pragma once

#include "runtime/uefi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* {EA816D2C-CEE5-4F02-99B5-D3905CBBD077}: the Framework HII protocol. */
#define SIM_FRAMEWORK_HII_PROTOCOL_GUID \
  { 0xea816d2c, 0xcee5, 0x4f02, { 0x99, 0xb5, 0xd3, 0x90, 0x5c, 0xbb, 0xd0, 0x77 } }
/* {D7AD636E-B997-459B-BF3F-8846897980E1}: the same interface under its later GUID. */
#define SIM_FRAMEWORK_HII_PROTOCOL_LATER_GUID \
  { 0xd7ad636e, 0xb997, 0x459b, { 0xbf, 0x3f, 0x88, 0x46, 0x89, 0x79, 0x80, 0xe1 } }

struct _SIM_FRAMEWORK_HII_PROTOCOL;

typedef EFI_STATUS(EFIAPI *SIM_HII_NEW_PACK)(struct _SIM_FRAMEWORK_HII_PROTOCOL *This, VOID *Packages,
                                            UINT16 *Handle);
typedef EFI_STATUS(EFIAPI *SIM_HII_REMOVE_PACK)(struct _SIM_FRAMEWORK_HII_PROTOCOL *This, UINT16 Handle);
typedef EFI_STATUS(EFIAPI *SIM_HII_FIND_HANDLES)(struct _SIM_FRAMEWORK_HII_PROTOCOL *This, UINT16 *HandleBufferLength,
                                                UINT16 *Handle);
typedef EFI_STATUS(EFIAPI *SIM_HII_EXPORT)(struct _SIM_FRAMEWORK_HII_PROTOCOL *This, UINT16 Handle, UINTN *BufferSize,
                                          VOID *Buffer);
/* The remaining entries (string, glyph, form and keyboard services) are
 * present so the record has its full size; all return EFI_UNSUPPORTED. */
typedef EFI_STATUS(EFIAPI *SIM_HII_UNSERVED)(struct _SIM_FRAMEWORK_HII_PROTOCOL *This);

#define SIM_FRAMEWORK_HII_UNSERVED_ENTRIES 13

typedef struct _SIM_FRAMEWORK_HII_PROTOCOL {
  SIM_HII_NEW_PACK NewPack;
  SIM_HII_REMOVE_PACK RemovePack;
  SIM_HII_FIND_HANDLES FindHandles;
  SIM_HII_EXPORT ExportDatabase;
  SIM_HII_UNSERVED Unserved[SIM_FRAMEWORK_HII_UNSERVED_ENTRIES];
} SIM_FRAMEWORK_HII_PROTOCOL;

#ifdef __cplusplus
}  /* extern "C" */
static_assert(sizeof(SIM_FRAMEWORK_HII_PROTOCOL) == 17 * sizeof(void *), "17 entries");
static_assert(offsetof(SIM_FRAMEWORK_HII_PROTOCOL, ExportDatabase) == 3 * sizeof(void *), "fourth entry");
#endif

// Config Routing (EFI_HII_CONFIG_ROUTING_PROTOCOL) and Config Access
// (EFI_HII_CONFIG_ACCESS_PROTOCOL), UEFI 2.1 and later: settings travel as
// UCS-2 text. A <ConfigHdr> names a store, "GUID=<32 hex>&NAME=<4 hex per
// name unit>&PATH=<2 hex per device path byte>" (hex digits in lower case,
// each byte in memory order); a request adds "&OFFSET=<hex>&WIDTH=<hex>"
// elements, an answer or a change "&VALUE=<hex>" after each, the value's
// bytes written last byte first. Routing finds the store's owner by PATH and
// hands the text to the owner's Config Access protocol.
#pragma once

#include "uefi/hii_packages.h"

// ---- Config Routing ------------------------------------------------------------------------

struct _EFI_HII_CONFIG_ROUTING_PROTOCOL;
typedef struct _EFI_HII_CONFIG_ROUTING_PROTOCOL EFI_HII_CONFIG_ROUTING_PROTOCOL;

// Current values for Request (one or more ConfigHdrs, each with or without
// elements). *Results is pool memory the caller frees; it may carry
// "&GUID=...&ALTCFG=<4 hex>" sections of default values after each answer.
typedef EFI_STATUS(EFIAPI *EFI_HII_EXTRACT_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                    const EFI_STRING Request, EFI_STRING *Progress,
                                                    EFI_STRING *Results);
typedef EFI_STATUS(EFIAPI *EFI_HII_EXPORT_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This, EFI_STRING *Results);
// Hands Configuration to the owners of its stores; their refusal comes back.
typedef EFI_STATUS(EFIAPI *EFI_HII_ROUTE_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                  const EFI_STRING Configuration, EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_BLOCK_TO_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                     const EFI_STRING ConfigRequest, const UINT8 *Block,
                                                     const UINTN BlockSize, EFI_STRING *Config,
                                                     EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_CONFIG_TO_BLOCK)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                     const EFI_STRING ConfigResp, UINT8 *Block, UINTN *BlockSize,
                                                     EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_ALT_CFG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                 const EFI_STRING ConfigResp, const EFI_GUID *Guid,
                                                 const EFI_STRING Name, const EFI_DEVICE_PATH *DevicePath,
                                                 const UINT16 *AltCfgId, EFI_STRING *AltCfgResp);

struct _EFI_HII_CONFIG_ROUTING_PROTOCOL {
  EFI_HII_EXTRACT_CONFIG ExtractConfig;
  EFI_HII_EXPORT_CONFIG ExportConfig;
  EFI_HII_ROUTE_CONFIG RouteConfig;
  EFI_HII_BLOCK_TO_CONFIG BlockToConfig;
  EFI_HII_CONFIG_TO_BLOCK ConfigToBlock;
  EFI_HII_GET_ALT_CFG GetAltConfig;
};
static_assert(sizeof(EFI_HII_CONFIG_ROUTING_PROTOCOL) == 6 * sizeof(void *));
static_assert(offsetof(EFI_HII_CONFIG_ROUTING_PROTOCOL, RouteConfig) == 2 * sizeof(void *));

// {587E72D7-CC50-4F79-8209-CA291FC1A10F}
inline constexpr EFI_GUID gEfiHiiConfigRoutingProtocolGuid = {
    0x587e72d7, 0xcc50, 0x4f79, {0x82, 0x09, 0xca, 0x29, 0x1f, 0xc1, 0xa1, 0x0f}};

// ---- Config Access ---------------------------------------------------------------------------

struct _EFI_HII_CONFIG_ACCESS_PROTOCOL;
typedef struct _EFI_HII_CONFIG_ACCESS_PROTOCOL EFI_HII_CONFIG_ACCESS_PROTOCOL;

typedef UINTN EFI_BROWSER_ACTION;
typedef UINTN EFI_BROWSER_ACTION_REQUEST;

typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_EXTRACT_CONFIG)(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                                           const EFI_STRING Request, EFI_STRING *Progress,
                                                           EFI_STRING *Results);
typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_ROUTE_CONFIG)(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                                         const EFI_STRING Configuration, EFI_STRING *Progress);
// Value points at an EFI_IFR_TYPE_VALUE (at most 8 bytes for the numeric
// types); only a forms browser calls it.
typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_FORM_CALLBACK)(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                                          EFI_BROWSER_ACTION Action, EFI_QUESTION_ID QuestionId,
                                                          UINT8 Type, VOID *Value,
                                                          EFI_BROWSER_ACTION_REQUEST *ActionRequest);

struct _EFI_HII_CONFIG_ACCESS_PROTOCOL {
  EFI_HII_ACCESS_EXTRACT_CONFIG ExtractConfig;
  EFI_HII_ACCESS_ROUTE_CONFIG RouteConfig;
  EFI_HII_ACCESS_FORM_CALLBACK Callback;
};
static_assert(sizeof(EFI_HII_CONFIG_ACCESS_PROTOCOL) == 3 * sizeof(void *));

// {330D4706-F2A0-4E4F-A369-B66FA8D54385}
inline constexpr EFI_GUID gEfiHiiConfigAccessProtocolGuid = {
    0x330d4706, 0xf2a0, 0x4e4f, {0xa3, 0x69, 0xb6, 0x6f, 0xa8, 0xd5, 0x43, 0x85}};

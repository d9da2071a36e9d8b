// The driver's C runtime on UEFI (namespace crt).
//
// The driver is freestanding: everything it would take from a C library comes
// from here, and everything here talks only to the system table handed to
// Startup. The same code runs on real firmware and inside the simulated
// firmware of the host tests. Names and semantics follow the C library so the
// driver reads like ordinary C++; the differences are noted per function.
#pragma once

#include "runtime/uefi.h"
#include <stdarg.h>
#include <new>  // placement new only (freestanding)

namespace crt {

// ---- start-up and shutdown -------------------------------------------------
// Checks the firmware revision (below EFI 1.10: prints "Please start this
// image in EFI higher version \r\n" and ends the image through Exit with
// EFI_UNSUPPORTED), turns the watchdog off, and builds the environment from
// the firmware's printable-text variables. Returns EFI_SUCCESS or the status
// of the step that failed.
EFI_STATUS Startup(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
// Runs exit handlers (last registered first), flushes and closes every open
// stream, frees the environment and releases every heap block still held.
void Shutdown();
int atexit(void (*Handler)());
// Forgets all runtime state without touching firmware: what a freshly loaded
// image starts with. Only an image loader has reason to call it.
void ResetState();
EFI_SYSTEM_TABLE *SystemTable();
EFI_HANDLE ImageHandle();

// ---- heap (boot-services pool memory, every block tracked) -----------------
// Blocks are 8-byte aligned, as UEFI pool memory is; nothing more is promised.
void *malloc(size_t Size);
void *calloc(size_t Count, size_t Size);
void *realloc(void *Block, size_t Size);
void free(void *Block);
// Page-granular memory below 4 GiB, tracked like the heap (freed by Shutdown).
void *AllocateBelow4G(size_t Size);
void FreeBelow4G(void *Block);
// Heap blocks plus page runs currently held (what Shutdown would release).
size_t LiveBlockCount();

// new/delete through the runtime heap in both builds. Returns nullptr when the
// allocation fails; the constructor is not run then.
template <class T, class... Args> T *New(Args &&...A) {
  static_assert(alignof(T) <= 8, "the heap gives 8-byte alignment, as UEFI pool memory does");
  void *Memory = crt::malloc(sizeof(T));
  if (Memory == nullptr) return nullptr;
  return ::new (Memory) T(static_cast<Args &&>(A)...);
}
template <class T> void Delete(T *Object) {
  if (Object == nullptr) return;
  Object->~T();
  crt::free(Object);
}

// ---- memory and 8-bit strings ----------------------------------------------
void *memset(void *Dest, int Byte, size_t Size);
void *memcpy(void *Dest, const void *Src, size_t Size);
void *memmove(void *Dest, const void *Src, size_t Size);
int memcmp(const void *A, const void *B, size_t Size);
size_t strlen(const char *S);
size_t strnlen(const char *S, size_t Max);
int strcmp(const char *A, const char *B);
int strncmp(const char *A, const char *B, size_t Max);
char *strcpy(char *Dest, const char *Src);
char *strncpy(char *Dest, const char *Src, size_t Max);
char *strcat(char *Dest, const char *Src);
char *strchr(const char *S, int C);
char *strrchr(const char *S, int C);
char *strstr(const char *Haystack, const char *Needle);
char *strdup(const char *S);
int tolower(int C);
int toupper(int C);
int isprint(int C);
int isspace(int C);
int isdigit(int C);
int atoi(const char *S);
long strtol(const char *S, char **End, int Base);

// ---- 16-bit strings ----------------------------------------------------------
size_t wcslen(const CHAR16 *S);
int wcscmp(const CHAR16 *A, const CHAR16 *B);
int wcsncmp(const CHAR16 *A, const CHAR16 *B, size_t Max);
CHAR16 *wcscpy(CHAR16 *Dest, const CHAR16 *Src);
CHAR16 *wcsdup(const CHAR16 *S);

// ---- conversions (C locale: one byte <-> one 16-bit unit) --------------------
// Returns the number of units written (without the NUL), or (size_t)-1 when a
// character above 0xFF cannot be represented. Dest may be nullptr to measure.
size_t wcstombs(char *Dest, const CHAR16 *Src, size_t Max);
size_t mbstowcs(CHAR16 *Dest, const char *Src, size_t Max);

// ---- formatting ---------------------------------------------------------------
// Conversions: %d %i %u %o %x %X %c %s %p %% with widths and precisions
// (digits or '*'), flags '-' '0' '+' ' ' '#', length modifiers h hh l ll z.
// A NULL string prints "(null)". In both families, as C's vswprintf does,
// %s (and %hs) is an 8-bit string and %ls a CHAR16 string; a CHAR16 string
// printed into 8-bit output keeps each unit's low 8 bits. Return the length that the full
// result has (8-bit) or the number written, -1 on overflow (16-bit), as C does.
int vsnprintf(char *Dest, size_t Size, const char *Format, va_list Args);
int snprintf(char *Dest, size_t Size, const char *Format, ...);
int vswprintf(CHAR16 *Dest, size_t Size, const CHAR16 *Format, va_list Args);
int swprintf(CHAR16 *Dest, size_t Size, const CHAR16 *Format, ...);

// ---- file streams over the Simple File System protocol -----------------------
// Names: optional volume "fsN:" (the UEFI Shell's map when a Shell is
// present, else device paths in byte order: see volumes.h),
// '/' or '\' as separators; a name without a volume is relative to the folder
// the image was loaded from. Modes: "r", "rb", "w", "wb", "a", "ab".
struct FILE;
// (Prefixed: the host C library defines SEEK_SET and EOF as macros.)
enum { CRT_SEEK_SET = 0, CRT_SEEK_CUR = 1, CRT_SEEK_END = 2 };
constexpr int CRT_EOF = -1;
FILE *fopen(const char *Name, const char *Mode);
size_t fread(void *Dest, size_t Size, size_t Count, FILE *Stream);
size_t fwrite(const void *Src, size_t Size, size_t Count, FILE *Stream);
int fseek(FILE *Stream, long Offset, int Origin);
long ftell(FILE *Stream);
int fflush(FILE *Stream);
int fclose(FILE *Stream);
int feof(FILE *Stream);
int ferror(FILE *Stream);
int fprintf(FILE *Stream, const char *Format, ...);
int vfprintf(FILE *Stream, const char *Format, va_list Args);

// ---- environment ----------------------------------------------------------------
// Built once by Startup; the returned text belongs to the runtime.
const char *getenv(const char *Name);

// ---- device paths ---------------------------------------------------------------
// The device path of a file, for LoadImage: the volume's device path followed
// by a file-path node. Pool memory the caller frees with crt::FreeDevicePath.
EFI_DEVICE_PATH *FileDevicePathOf(const char *Name);
void FreeDevicePath(EFI_DEVICE_PATH *Path);

// ---- file information -------------------------------------------------------------
// Size and last modification time of an open stream's file as the firmware's
// EFI_FILE_INFO gives them now (pending writes are flushed first), without
// allocating. EFI_SUCCESS, EFI_INVALID_PARAMETER (no stream or no output), or
// the firmware's status.
[[nodiscard]] EFI_STATUS FileSizeAndTime(FILE *Stream, UINT64 *Size, EFI_TIME *Modified);
// Creates the folder Name (named as fopen names files) unless it exists.
[[nodiscard]] EFI_STATUS MakeFolder(const char *Name);

}  // namespace crt

// Snapshots: the variables the driver's forms name, written before a change
// in the variable-store text, and put back byte for byte by restore.
#include "client/variable_snapshot.h"

#include "client/ini_files.h"
#include "client/record_report.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "variablefile/variable_reader.h"
#include "variablefile/variable_writer.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::JoinIniFilePath;

namespace {

// Variables are read into a buffer of this size at first; a larger one is
// read again at the size the firmware names.
constexpr UINTN FIRST_READ_BYTES = 4096;
constexpr UINTN NAME_UNITS = variablefile::VARIABLE_STORE_MAX_NAME + 1;
constexpr UINTN DATA_BYTES = variablefile::VARIABLE_STORE_MAX_DATA;

[[nodiscard]] EFI_STATUS ReadWhole(CHAR16 *Name, EFI_GUID *Guid, crt::HeapPtr<UINT8> &Data, UINTN &Size,
                                   UINT32 &Attributes) {
  EFI_RUNTIME_SERVICES *Runtime = crt::SystemTable()->RuntimeServices;
  Size = FIRST_READ_BYTES;
  Data.Reset(static_cast<UINT8 *>(crt::malloc(Size)));
  if (!Data) return EFI_OUT_OF_RESOURCES;
  EFI_STATUS Status = Runtime->GetVariable(Name, Guid, &Attributes, &Size, Data.Get());
  if (Status == EFI_BUFFER_TOO_SMALL) {
    Data.Reset(static_cast<UINT8 *>(crt::malloc(Size == 0 ? 1 : Size)));
    if (!Data) return EFI_OUT_OF_RESOURCES;
    Status = Runtime->GetVariable(Name, Guid, &Attributes, &Size, Data.Get());
  }
  return Status;
}

struct SnapshotWriter {
  crt::FILE *File;
  EFI_STATUS Status;
};

bool ToFile(void *Context, const char *Text, size_t Length) {
  return crt::fwrite(Text, 1, Length, static_cast<crt::FILE *>(Context)) == Length;
}

// One variable the forms name: read whole, written as one line.
void BIOSCFG_EFIAPI WriteOne(VOID *Context, CONST CHAR16 *Name, CONST EFI_GUID *Guid) {
  auto &W = *static_cast<SnapshotWriter *>(Context);
  if (W.Status != EFI_SUCCESS) return;
  const UINTN Units = WideLength(Name);
  if (Units >= NAME_UNITS) {
    W.Status = EFI_UNSUPPORTED;
    return;
  }
  CHAR16 Copy[NAME_UNITS];
  for (UINTN Unit = 0; Unit <= Units; ++Unit) Copy[Unit] = WideUnit(Name, static_cast<UINT32>(Unit));
  EFI_GUID Key = *Guid;
  crt::HeapPtr<UINT8> Data;
  UINTN Size = 0;
  UINT32 Attributes = 0;
  W.Status = ReadWhole(Copy, &Key, Data, Size, Attributes);
  if (W.Status != EFI_SUCCESS) return;
  const variablefile::StoreVariable Variable{Copy, Units, Key, Attributes, Data.Get(), Size, 0};
  // A name the text cannot hold, or a failed write, leaves no snapshot to trust.
  if (variablefile::WriteVariableLine(Variable, ToFile, W.File) != variablefile::VariableWriteError::None) {
    W.Status = EFI_UNSUPPORTED;
  }
}

}  // namespace

EFI_STATUS WriteFormVariables(ToolContext &C, const char *Path, const char *Comment) {
  crt::OpenStream File(crt::fopen(Path, "wb"));
  if (File.Get() == nullptr) return EFI_ACCESS_DENIED;
  SnapshotWriter W{File.Get(), EFI_SUCCESS};
  if (!ToFile(W.File, variablefile::VARIABLE_STORE_HEADER, sizeof variablefile::VARIABLE_STORE_HEADER - 1) ||
      !ToFile(W.File, Comment, crt::strlen(Comment))) {
    return EFI_DEVICE_ERROR;
  }
  const EFI_STATUS Listed = C.Extensions->EnumerateVariables(C.Extensions, WriteOne, &W);
  if (Listed != EFI_SUCCESS) return Listed;
  if (W.Status == EFI_SUCCESS && crt::fflush(W.File) != 0) return EFI_DEVICE_ERROR;
  return W.Status;
}

EFI_STATUS WriteVariableSnapshot(ToolContext &C, const char *Name) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!JoinIniFilePath(crt::getenv("TORVEL_PATH"), Name, Path)) return EFI_INVALID_PARAMETER;
  return WriteFormVariables(C, Path, "# the setup variables before a change: bioscfg-tool restore puts them back\n");
}

namespace {

// A pass over the snapshot: first one that only checks, then one that
// writes. The first problem ends it.
struct RestorePass {
  explicit RestorePass(bool Write) : Write(Write) {}
  bool Write;
  EFI_STATUS Status = EFI_SUCCESS;
  const char *Problem = nullptr;  // why the variable does not fit or could not be written
  CHAR16 Name[NAME_UNITS] = {};
  EFI_GUID Guid{};
  UINTN Restored = 0;
  UINTN Unchanged = 0;
  // The restored variables, printed after the result line.
  struct Done {
    CHAR16 *Name;
    EFI_GUID Guid;
    UINTN Size;
  };
  crt::HeapPtr<Done> List;
  UINTN Capacity = 0;

  ~RestorePass() {
    for (UINTN Index = 0; Index < Restored; ++Index) crt::free(List.Get()[Index].Name);
  }
  void Keep(const variablefile::StoreVariable &V) {
    if (Restored == Capacity) {
      const UINTN Grown = Capacity == 0 ? 8 : 2 * Capacity;
      auto *Larger = static_cast<Done *>(crt::realloc(List.Get(), Grown * sizeof(Done)));
      if (Larger == nullptr) return;  // restored all the same; only the line is lost
      (void)List.Release();
      List.Reset(Larger);
      Capacity = Grown;
    }
    auto *Copy = static_cast<CHAR16 *>(crt::malloc((V.NameLength + 1) * sizeof(CHAR16)));
    if (Copy != nullptr) crt::memcpy(Copy, V.Name, (V.NameLength + 1) * sizeof(CHAR16));
    List.Get()[Restored++] = Done{Copy, V.Guid, V.DataSize};
  }
  void Fail(const variablefile::StoreVariable &V, EFI_STATUS Why, const char *Text) {
    Status = Why;
    Problem = Text;
    crt::memcpy(Name, V.Name, (V.NameLength + 1) * sizeof(CHAR16));
    Guid = V.Guid;
  }
};

void Visit(void *Context, const variablefile::StoreVariable &V) {
  auto &P = *static_cast<RestorePass *>(Context);
  if (P.Status != EFI_SUCCESS) return;
  CHAR16 Name[NAME_UNITS];
  crt::memcpy(Name, V.Name, (V.NameLength + 1) * sizeof(CHAR16));
  EFI_GUID Guid = V.Guid;
  crt::HeapPtr<UINT8> Current;
  UINTN Size = 0;
  UINT32 Attributes = 0;
  const EFI_STATUS Read = ReadWhole(Name, &Guid, Current, Size, Attributes);
  if (Read == EFI_NOT_FOUND) return P.Fail(V, EFI_NOT_FOUND, "this machine has no such variable");
  if (Read != EFI_SUCCESS) return P.Fail(V, Read, "the variable cannot be read");
  if (Size != V.DataSize) return P.Fail(V, EFI_BAD_BUFFER_SIZE, "its size here differs from the snapshot's");
  if (Attributes != V.Attributes) return P.Fail(V, EFI_INVALID_PARAMETER, "its attributes here differ from the snapshot's");
  const bool Same = Size == 0 || crt::memcmp(Current.Get(), V.Data, Size) == 0;
  if (!P.Write) return;
  if (Same) {
    ++P.Unchanged;
    return;
  }
  EFI_RUNTIME_SERVICES *Runtime = crt::SystemTable()->RuntimeServices;
  const EFI_STATUS Written = Runtime->SetVariable(Name, &Guid, V.Attributes, V.DataSize, const_cast<UINT8 *>(V.Data));
  if (Written != EFI_SUCCESS) return P.Fail(V, Written, "the firmware refused the write");
  // Read back: firmware may take a write and keep other bytes.
  if (ReadWhole(Name, &Guid, Current, Size, Attributes) != EFI_SUCCESS || Size != V.DataSize ||
      (Size != 0 && crt::memcmp(Current.Get(), V.Data, Size) != 0)) {
    return P.Fail(V, EFI_DEVICE_ERROR, "it reads back other bytes than were written");
  }
  P.Keep(V);
}

// One pass over the snapshot's text; false with the reason for a bad text.
[[nodiscard]] bool Walk(const char *Text, UINTN Length, RestorePass &P, char (&Why)[96]) {
  crt::HeapPtr<CHAR16> Name(static_cast<CHAR16 *>(crt::calloc(NAME_UNITS, sizeof(CHAR16))));
  crt::HeapPtr<UINT8> Data(static_cast<UINT8 *>(crt::malloc(DATA_BYTES)));
  if (!Name || !Data) {
    (void)crt::snprintf(Why, sizeof Why, "out of memory");
    return false;
  }
  const variablefile::VariableStoreBuffers Buffers{Name.Get(), NAME_UNITS, Data.Get(), DATA_BYTES};
  const variablefile::VariableStoreResult Result = variablefile::ReadVariableStore(Text, Length, Buffers, Visit, &P);
  if (Result.Error == variablefile::VariableStoreError::None) return true;
  (void)variablefile::DescribeVariableStoreError(Result, Why, sizeof Why);
  return false;
}

void PrintGuid(ConsoleWriter &Out, const EFI_GUID &G) {
  Out.Text("{").Hex(G.Data1, 8).Text("-").Hex(G.Data2, 4).Text("-").Hex(G.Data3, 4).Text("-");
  for (int Byte = 0; Byte < 8; ++Byte) {
    if (Byte == 2) Out.Text("-");
    Out.Hex(G.Data4[Byte], 2);
  }
  Out.Text("}");
}

void PrintProblem(ConsoleWriter &Out, const RestorePass &P) {
  Out.Text("error: ").QuotedZ(P.Name).Text(" ");
  PrintGuid(Out, P.Guid);
  Out.Text(": ").Text(P.Problem).EndLine();
}

}  // namespace

EFI_STATUS RunRestore(ToolContext &C) {
  char File[INI_FILE_PATH_BUFFER_SIZE];
  UINTN Used = 0;
  for (const CHAR16 *Unit = C.Args.Operands[0]; *Unit != 0 && Used + 1 < sizeof File; ++Unit) {
    File[Used++] = static_cast<char>(*Unit);
  }
  File[Used] = '\0';
  crt::HeapPtr<char> Text;
  UINTN Length = 0;
  if (!ReadIniFile(File, Text, Length)) {
    PrintResult(C.Out, EFI_NOT_FOUND);
    PrintToolError(C.Out, "cannot read the snapshot ", C.Args.Operands[0], " in the TORVEL_PATH folder");
    return EFI_NOT_FOUND;
  }
  // Every variable is checked before any is written: a snapshot of another
  // machine, or of variables that changed size, writes nothing at all.
  char Why[96] = {};
  RestorePass Check(false);
  if (!Walk(Text.Get(), Length, Check, Why)) {
    PrintResult(C.Out, EFI_INVALID_PARAMETER);
    C.Out.Text("error: the snapshot's ").Text(Why).Text("; nothing was written").EndLine();
    return EFI_INVALID_PARAMETER;
  }
  if (Check.Status != EFI_SUCCESS) {
    PrintResult(C.Out, Check.Status);
    PrintProblem(C.Out, Check);
    C.Out.Text("error: the snapshot does not fit this machine; nothing was written").EndLine();
    return Check.Status;
  }
  RestorePass Write(true);
  (void)Walk(Text.Get(), Length, Write, Why);
  PrintResult(C.Out, Write.Status);
  for (UINTN Index = 0; Index < Write.Restored; ++Index) {
    const auto &Done = Write.List.Get()[Index];
    C.Out.Text("restored: ").QuotedZ(Done.Name).Text(" ");
    PrintGuid(C.Out, Done.Guid);
    C.Out.Text(" ").Unsigned(Done.Size).Text(" bytes").EndLine();
  }
  if (Write.Status != EFI_SUCCESS) PrintProblem(C.Out, Write);
  C.Out.Text("unchanged: ").Unsigned(Write.Unchanged).EndLine();
  return Write.Status;
}

// capture DIR: the machine as the host tool and the HII provider replay it,
// DIR/hii.bin (the bytes the Framework HII protocol's ExportDatabase gives
// for handle 0) and DIR/variables.txt (every variable the forms name, with
// its attributes and bytes). DIR is named as INI files are (in the
// TORVEL_PATH folder), or with a volume ("fs1:\captures\rack12"); it is
// made when missing, its parent must exist.
#include "client/record_report.h"
#include "client/tool_commands.h"
#include "client/variable_snapshot.h"
#include "hiibuild/framework_hii.h"
#include "inicontract/ini_file_path.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;

namespace {

// The Framework HII protocol under either GUID, as the driver finds it.
EFI_HII_PROTOCOL *FindHii(EFI_BOOT_SERVICES *Boot) {
  const EFI_GUID Guids[] = {gFrameworkHiiProtocolGuid, gFrameworkHiiLaterProtocolGuid};
  for (EFI_GUID Guid : Guids) {
    void *Interface = nullptr;
    if (Boot->LocateProtocol(&Guid, nullptr, &Interface) == EFI_SUCCESS && Interface != nullptr) {
      return static_cast<EFI_HII_PROTOCOL *>(Interface);
    }
  }
  return nullptr;
}

// The export in the two calls firmware expects: the size, then the bytes.
[[nodiscard]] EFI_STATUS Export(EFI_HII_PROTOCOL *Hii, crt::HeapPtr<UINT8> &Bytes, UINTN &Size) {
  Size = 0;
  EFI_STATUS Status = Hii->ExportDatabase(Hii, 0, &Size, nullptr);
  if (Status != EFI_BUFFER_TOO_SMALL && EFI_ERROR(Status)) return Status;
  if (Size == 0) return EFI_NOT_FOUND;
  Bytes.Reset(static_cast<UINT8 *>(crt::malloc(Size)));
  if (!Bytes) return EFI_OUT_OF_RESOURCES;
  UINTN Written = Size;
  Status = Hii->ExportDatabase(Hii, 0, &Written, Bytes.Get());
  if (EFI_ERROR(Status)) return Status;
  if (Written < Size) Size = Written;
  return EFI_SUCCESS;
}

[[nodiscard]] bool Join(const char *Folder, const char *Name, char (&Path)[INI_FILE_PATH_BUFFER_SIZE]) {
  return inicontract::JoinIniPath(Folder, Name, Path, sizeof Path) == inicontract::IniPathJoin::Joined;
}

EFI_STATUS Fail(ToolContext &C, EFI_STATUS Status, const char *What) {
  PrintResult(C.Out, Status);
  PrintToolError(C.Out, What, nullptr, "");
  return Status;
}

}  // namespace

EFI_STATUS RunCapture(ToolContext &C) {
  char Named[INI_FILE_PATH_BUFFER_SIZE];
  UINTN Used = 0;
  for (const CHAR16 *Unit = C.Args.Operands[0]; *Unit != 0; ++Unit) {
    if (Used + 1 >= sizeof Named || *Unit > 0x7E || *Unit < 0x20) return Fail(C, EFI_INVALID_PARAMETER, "not a folder name");
    Named[Used++] = static_cast<char>(*Unit);
  }
  Named[Used] = '\0';
  // A name with a volume stands as it is; any other lies in the TORVEL_PATH folder.
  char Folder[INI_FILE_PATH_BUFFER_SIZE];
  if (crt::strchr(Named, ':') != nullptr) {
    crt::memcpy(Folder, Named, Used + 1);
  } else if (!Join(crt::getenv("TORVEL_PATH"), Named, Folder)) {
    return Fail(C, EFI_INVALID_PARAMETER, "the folder's name is too long, or TORVEL_PATH is not set");
  }
  char HiiPath[INI_FILE_PATH_BUFFER_SIZE];
  char VariablesPath[INI_FILE_PATH_BUFFER_SIZE];
  if (!Join(Folder, "hii.bin", HiiPath) || !Join(Folder, "variables.txt", VariablesPath)) {
    return Fail(C, EFI_INVALID_PARAMETER, "the folder's name is too long");
  }
  EFI_STATUS Status = crt::MakeFolder(Folder);
  if (Status != EFI_SUCCESS) return Fail(C, Status, "cannot make the folder (does its parent exist?)");

  EFI_HII_PROTOCOL *Hii = FindHii(crt::SystemTable()->BootServices);
  if (Hii == nullptr) return Fail(C, EFI_NOT_FOUND, "this machine has no Framework HII database");
  crt::HeapPtr<UINT8> Bytes;
  UINTN Size = 0;
  Status = Export(Hii, Bytes, Size);
  if (Status != EFI_SUCCESS) return Fail(C, Status, "the HII database cannot be exported");
  {
    crt::OpenStream File(crt::fopen(HiiPath, "wb"));
    if (File.Get() == nullptr || crt::fwrite(Bytes.Get(), 1, Size, File.Get()) != Size || crt::fflush(File.Get()) != 0) {
      return Fail(C, EFI_DEVICE_ERROR, "cannot write hii.bin");
    }
  }
  Status = WriteFormVariables(C, VariablesPath, "# the variables the setup forms name, as captured\n");
  if (Status != EFI_SUCCESS) return Fail(C, Status, "cannot read or write the variables the forms name");
  // The files by the name the user gave, not the joined path: a transcript
  // reads the same on any volume.
  PrintResult(C.Out, EFI_SUCCESS);
  C.Out.Text("captured: ").Text(Named).Text("\\hii.bin (").Unsigned(Size).Text(" bytes)").EndLine();
  C.Out.Text("captured: ").Text(Named).Text("\\variables.txt").EndLine();
  return EFI_SUCCESS;
}

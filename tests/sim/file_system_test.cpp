// Simple File System volumes: the open rules of the reference FAT driver,
// positions and append, directory listings and file information.
#include "tests/sim/platform_helpers.h"
#include "tests/support/sim_fixture.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr UINT64 R = EFI_FILE_MODE_READ;
constexpr UINT64 RW = EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE;
constexpr UINT64 RWC = EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE;

class FileSystemTest : public PlatformTest {
 protected:
  TempFolder Folder;
  EFI_FILE_PROTOCOL *Root = nullptr;

  void SetUp() override {
    std::filesystem::create_directories(Folder.Path() + "/Tools/Sub");
    std::ofstream(Folder.Path() + "/Tools/Hello.txt") << "hello";
    EFI_HANDLE Volume = Fw.MountVolume(Folder.Path());
    EFI_SIMPLE_FILE_SYSTEM_PROTOCOL *FileSystem = nullptr;
    ASSERT_EQ(BS()->HandleProtocol(Volume, &gEfiSimpleFileSystemProtocolGuid, reinterpret_cast<void **>(&FileSystem)),
              EFI_SUCCESS);
    ASSERT_EQ(FileSystem->OpenVolume(FileSystem, &Root), EFI_SUCCESS);
  }
  void TearDown() override {
    if (Root != nullptr) {
      EXPECT_EQ(Root->Close(Root), EFI_SUCCESS);
    }
  }

  EFI_STATUS Open(EFI_FILE_PROTOCOL *From, std::u16string Name, UINT64 Mode, EFI_FILE_PROTOCOL **File) {
    *File = nullptr;
    return From->Open(From, File, Wide(Name), Mode, 0);
  }
  std::u16string NameOf(EFI_FILE_PROTOCOL *File) {
    UINTN Size = 0;
    EXPECT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
    std::vector<uint8_t> Info(Size);
    EXPECT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &Size, Info.data()), EFI_SUCCESS);
    return reinterpret_cast<char16_t *>(reinterpret_cast<EFI_FILE_INFO *>(Info.data())->FileName);
  }
  // The host names in a folder below the volume, sorted.
  std::vector<std::string> HostNames(const std::string &Below) {
    std::vector<std::string> Names;
    for (const auto &Entry : std::filesystem::directory_iterator(Folder.Path() + "/" + Below))
      Names.push_back(Entry.path().filename().string());
    std::sort(Names.begin(), Names.end());
    return Names;
  }
  std::string Hello() {
    std::ifstream In(Folder.Path() + "/Tools/Hello.txt", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(In), {});
  }
};

TEST_F(FileSystemTest, OpenRules) {
  struct Case { std::u16string Name; UINT64 Mode; EFI_STATUS Expected; };
  const Case Cases[] = {
      {u"\\tools\\hello.TXT", R, EFI_SUCCESS},                   // names compare without case
      {u"tools\\sub\\..\\.\\hello.txt", RW, EFI_SUCCESS},         // "." and ".."
      {u"\\\\tools\\\\hello.txt", R, EFI_SUCCESS},               // doubled separators
      {u"\\tools\\hello.txt", EFI_FILE_MODE_WRITE, EFI_INVALID_PARAMETER},  // WRITE without READ
      {u"\\tools\\hello.txt", EFI_FILE_MODE_READ | EFI_FILE_MODE_CREATE, EFI_INVALID_PARAMETER},
      {u"tools/hello.txt", R, EFI_INVALID_PARAMETER},            // '/' is not a separator
      {u"\\missing\\new.txt", RWC, EFI_NOT_FOUND},               // CREATE makes only the last part
      {u"..", R, EFI_NOT_FOUND},                                 // above the root
      {u"\\tools\\a*b", RWC, EFI_INVALID_PARAMETER},
  };
  for (const Case &C : Cases) {
    EFI_FILE_PROTOCOL *File = nullptr;
    EXPECT_EQ(Open(Root, C.Name, C.Mode, &File), C.Expected) << std::string(C.Name.begin(), C.Name.end());
    if (File != nullptr) {
      EXPECT_EQ(File->Close(File), EFI_SUCCESS);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(Folder.Path() + "/missing"));

  EFI_FILE_PROTOCOL *Tools = nullptr, *File = nullptr, *Other = nullptr;
  ASSERT_EQ(Open(Root, u"TOOLS", R, &Tools), EFI_SUCCESS);
  ASSERT_EQ(Open(Tools, u"hello.txt", R, &File), EFI_SUCCESS) << "relative to the folder handle";
  EXPECT_EQ(Open(File, u"other", R, &Other), EFI_NOT_FOUND) << "a file handle is no folder";
  ASSERT_EQ(Open(Tools, u"\\tools\\sub", R, &Other), EFI_SUCCESS) << "root-relative from anywhere";
  for (EFI_FILE_PROTOCOL *Handle : {Other, File, Tools}) EXPECT_EQ(Handle->Close(Handle), EFI_SUCCESS);
}

TEST_F(FileSystemTest, AppendReadPastTheEndAndTruncate) {
  EFI_FILE_PROTOCOL *File = nullptr;
  ASSERT_EQ(Open(Root, u"\\tools\\hello.txt", RW, &File), EFI_SUCCESS);
  ASSERT_EQ(File->SetPosition(File, 0xFFFFFFFFFFFFFFFFull), EFI_SUCCESS);
  char Buffer[32] = " world";
  UINTN Size = 6;
  ASSERT_EQ(File->Write(File, &Size, Buffer), EFI_SUCCESS);
  EXPECT_EQ(Hello(), "hello world") << "the host sees writes";
  Size = sizeof Buffer;
  ASSERT_EQ(File->Read(File, &Size, Buffer), EFI_SUCCESS);
  EXPECT_EQ(Size, 0u) << "reading at the end gives 0 bytes";
  ASSERT_EQ(File->SetPosition(File, 20), EFI_SUCCESS);
  Size = sizeof Buffer;
  EXPECT_EQ(File->Read(File, &Size, Buffer), EFI_DEVICE_ERROR) << "reading beyond the end";

  UINTN InfoSize = 0;
  ASSERT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &InfoSize, nullptr), EFI_BUFFER_TOO_SMALL);
  std::vector<uint8_t> InfoBytes(InfoSize);
  ASSERT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &InfoSize, InfoBytes.data()), EFI_SUCCESS);
  auto *Info = reinterpret_cast<EFI_FILE_INFO *>(InfoBytes.data());
  EXPECT_EQ(Info->FileSize, 11u);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(Info->FileName)), u"Hello.txt");
  Info->FileSize = 4;
  ASSERT_EQ(File->SetInfo(File, &gEfiFileInfoGuid, InfoSize, InfoBytes.data()), EFI_SUCCESS);
  EXPECT_EQ(Hello(), "hell");
  EXPECT_EQ(File->Close(File), EFI_SUCCESS);

  ASSERT_EQ(Open(Root, u"\\tools\\hello.txt", R, &File), EFI_SUCCESS);
  Size = 1;
  EXPECT_EQ(File->Write(File, &Size, Buffer), EFI_ACCESS_DENIED) << "read-only handle";
  EXPECT_EQ(File->Flush(File), EFI_ACCESS_DENIED);
  EXPECT_EQ(File->Delete(File), EFI_WARN_DELETE_FAILURE) << "closes the handle all the same";
  EXPECT_EQ(Hello(), "hell");
}

TEST_F(FileSystemTest, CreateListAndDelete) {
  EFI_FILE_PROTOCOL *Created = nullptr;
  ASSERT_EQ(Open(Root, u"\\tools\\new.ini", RWC, &Created), EFI_SUCCESS);
  EXPECT_EQ(Created->Delete(Created), EFI_SUCCESS);
  EXPECT_FALSE(std::filesystem::exists(Folder.Path() + "/Tools/new.ini"));

  EFI_FILE_PROTOCOL *Tools = nullptr;
  ASSERT_EQ(Open(Root, u"\\tools", R, &Tools), EFI_SUCCESS);
  std::vector<std::u16string> Names;
  for (int Entry = 0; Entry < 10; ++Entry) {
    UINTN Size = 0;
    EFI_STATUS Status = Tools->Read(Tools, &Size, nullptr);
    if (Status == EFI_SUCCESS && Size == 0) break;
    ASSERT_EQ(Status, EFI_BUFFER_TOO_SMALL);
    std::vector<uint8_t> Info(Size);
    ASSERT_EQ(Tools->Read(Tools, &Size, Info.data()), EFI_SUCCESS);
    Names.emplace_back(reinterpret_cast<char16_t *>(reinterpret_cast<EFI_FILE_INFO *>(Info.data())->FileName));
  }
  EXPECT_EQ(Names, (std::vector<std::u16string>{u".", u"..", u"Hello.txt", u"Sub"}));
  EXPECT_EQ(Tools->SetPosition(Tools, 1), EFI_UNSUPPORTED);
  EXPECT_EQ(Tools->Close(Tools), EFI_SUCCESS);
}

// A FAT volume has one file per name whatever the case of its letters,
// and the file keeps the case it was created with: so "Run.ini" saved is
// the file that "run.ini" loads, folders in the name included.
TEST_F(FileSystemTest, NamesAreOneFileWhateverTheirCase) {
  EFI_FILE_PROTOCOL *Made = nullptr;
  ASSERT_EQ(Open(Root, u"\\tools\\Sub\\Run.ini", RWC, &Made), EFI_SUCCESS);
  char Text[] = "[BIOS]";
  UINTN Size = 6;
  ASSERT_EQ(Made->Write(Made, &Size, Text), EFI_SUCCESS);
  ASSERT_EQ(Made->Close(Made), EFI_SUCCESS);

  for (std::u16string Name : {u"\\TOOLS\\SUB\\RUN.INI", u"\\tools\\sub\\run.ini", u"\\Tools\\sUb\\rUN.iNI"}) {
    EFI_FILE_PROTOCOL *File = nullptr;
    ASSERT_EQ(Open(Root, Name, R, &File), EFI_SUCCESS) << std::string(Name.begin(), Name.end());
    EXPECT_EQ(NameOf(File), u"Run.ini") << "the case it was created with";
    char Back[8] = {};
    Size = sizeof Back;
    ASSERT_EQ(File->Read(File, &Size, Back), EFI_SUCCESS);
    EXPECT_EQ(std::string(Back, Size), "[BIOS]");
    EXPECT_EQ(File->Close(File), EFI_SUCCESS);
  }
  // CREATE under another case opens the file there is; it makes no second one.
  EFI_FILE_PROTOCOL *Again = nullptr;
  ASSERT_EQ(Open(Root, u"\\tools\\sub\\RUN.INI", RWC, &Again), EFI_SUCCESS);
  EXPECT_EQ(NameOf(Again), u"Run.ini");
  EXPECT_EQ(HostNames("Tools/Sub"), (std::vector<std::string>{"Run.ini"}));

  // Renaming: the file's own name in another case is allowed; another
  // file's name in any case is taken.
  std::u16string Other = u"\\tools\\sub\\other.ini";
  EFI_FILE_PROTOCOL *Second = nullptr;
  ASSERT_EQ(Open(Root, Other, RWC, &Second), EFI_SUCCESS);
  auto RenameTo = [&](EFI_FILE_PROTOCOL *File, const std::u16string &Name) {
    UINTN InfoSize = 0;
    EXPECT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &InfoSize, nullptr), EFI_BUFFER_TOO_SMALL);
    std::vector<uint8_t> Info(InfoSize + (Name.size() + 1) * sizeof(CHAR16));
    EXPECT_EQ(File->GetInfo(File, &gEfiFileInfoGuid, &InfoSize, Info.data()), EFI_SUCCESS);
    const size_t Fixed = offsetof(EFI_FILE_INFO, FileName);
    std::memcpy(Info.data() + Fixed, Name.c_str(), (Name.size() + 1) * sizeof(CHAR16));
    reinterpret_cast<EFI_FILE_INFO *>(Info.data())->Size = Fixed + (Name.size() + 1) * sizeof(CHAR16);
    return File->SetInfo(File, &gEfiFileInfoGuid, Info.size(), Info.data());
  };
  EXPECT_EQ(RenameTo(Second, u"rUN.ini"), EFI_ACCESS_DENIED);
  EXPECT_EQ(RenameTo(Again, u"RUN.INI"), EFI_SUCCESS);
  EXPECT_EQ(NameOf(Again), u"RUN.INI");
  EXPECT_EQ(HostNames("Tools/Sub"), (std::vector<std::string>{"RUN.INI", "other.ini"}));
  for (EFI_FILE_PROTOCOL *Handle : {Again, Second}) EXPECT_EQ(Handle->Close(Handle), EFI_SUCCESS);

  // A host folder can hold names a FAT folder cannot tell apart: every open
  // of such a name reaches the same one of them.
  std::ofstream(Folder.Path() + "/Tools/dup.txt") << "lower";
  std::ofstream(Folder.Path() + "/Tools/DUP.txt") << "upper";
  for (int Round = 0; Round < 3; ++Round) {
    EFI_FILE_PROTOCOL *File = nullptr;
    ASSERT_EQ(Open(Root, u"\\tools\\Dup.TXT", R, &File), EFI_SUCCESS);
    EXPECT_EQ(NameOf(File), u"DUP.txt");
    EXPECT_EQ(File->Close(File), EFI_SUCCESS);
  }
}

}  // namespace

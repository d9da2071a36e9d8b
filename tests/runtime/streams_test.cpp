// File streams through the simulated Simple File System, checked against
// the host folders behind the volumes. The fixture's image was loaded from
// fs0:\tools\test.efi, so names without a volume land in fs0:\tools.
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

class StreamTest : public SimTest {
 protected:
  std::string HostFile(const std::string &OnFs0) {
    std::ifstream In(VolumeDir(0) + OnFs0, std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    return Text.str();
  }
  void PutHostFile(const std::string &OnFs0, const std::string &Content) {
    std::ofstream(VolumeDir(0) + OnFs0, std::ios::binary) << Content;
  }
};

std::string Pattern(size_t Size) {
  std::string Text(Size, '\0');
  for (size_t I = 0; I < Size; ++I) Text[I] = static_cast<char>(I % 251);
  return Text;
}

std::string ReadAll(const char *Name) {
  crt::FILE *Stream = crt::fopen(Name, "rb");
  if (Stream == nullptr) return "<cannot open>";
  std::string Text;
  char Chunk[7];  // odd size: reads straddle the stream buffer
  for (size_t Got; (Got = crt::fread(Chunk, 1, sizeof(Chunk), Stream)) > 0;) Text.append(Chunk, Got);
  EXPECT_EQ(crt::feof(Stream), 1);
  EXPECT_EQ(crt::fclose(Stream), 0);
  return Text;
}

bool WriteFile(const char *Name, const char *Mode, const std::string &Content) {
  crt::FILE *Stream = crt::fopen(Name, Mode);
  if (Stream == nullptr) return false;
  size_t Written = crt::fwrite(Content.data(), 1, Content.size(), Stream);
  return crt::fclose(Stream) == 0 && Written == Content.size();
}

TEST_F(StreamTest, AppendAlwaysWritesAtTheEnd) {
  ASSERT_TRUE(WriteFile("fs0:\\log.txt", "a", "first "));
  ASSERT_TRUE(WriteFile("fs0:\\log.txt", "ab", "second"));
  EXPECT_EQ(ReadAll("fs0:\\log.txt"), "first second");

  crt::FILE *Stream = crt::fopen("fs0:\\log.txt", "a");
  ASSERT_NE(Stream, nullptr);
  ASSERT_EQ(crt::fseek(Stream, 2, crt::CRT_SEEK_SET), 0);
  ASSERT_EQ(crt::fwrite("AB", 1, 2, Stream), 2u);
  EXPECT_EQ(crt::ftell(Stream), 14);
  ASSERT_EQ(crt::fclose(Stream), 0);
  EXPECT_EQ(HostFile("/log.txt"), "first secondAB");
}

TEST_F(StreamTest, WriteModeTruncatesAndWritesAfterASeekLandInPlace) {
  PutHostFile("/tools/out.bin", Pattern(10000));
  ASSERT_TRUE(WriteFile("out.bin", "wb", ""));
  EXPECT_EQ(HostFile("/tools/out.bin"), "");

  crt::FILE *Stream = crt::fopen("out.bin", "w");
  ASSERT_NE(Stream, nullptr);
  std::string Expected = Pattern(6000);
  ASSERT_EQ(crt::fwrite(Expected.data(), 1, Expected.size(), Stream), Expected.size());
  ASSERT_EQ(crt::fseek(Stream, 10, crt::CRT_SEEK_SET), 0);
  ASSERT_EQ(crt::fwrite("ABC", 1, 3, Stream), 3u);
  EXPECT_EQ(crt::ftell(Stream), 13);
  ASSERT_EQ(crt::fclose(Stream), 0);
  EXPECT_EQ(HostFile("/tools/out.bin"), Expected.replace(10, 3, "ABC"));
}

TEST_F(StreamTest, NamesResolveToTheRightVolumeAndFolder) {
  std::string Fs1 = MountExtraVolume();
  std::filesystem::create_directory(VolumeDir(0) + "/data");
  const std::pair<const char *, std::string> Cases[] = {
      {"relative.txt", VolumeDir(0) + "/tools/relative.txt"}, {"\\rooted.txt", VolumeDir(0) + "/rooted.txt"},
      {"/slashed.txt", VolumeDir(0) + "/slashed.txt"},        {"fs0:/data\\mixed.txt", VolumeDir(0) + "/data/mixed.txt"},
      {"fs0:data//double.txt", VolumeDir(0) + "/data/double.txt"}, {"fs1:\\second.txt", Fs1 + "/second.txt"},
      {"FS1:upper.txt", Fs1 + "/upper.txt"}};
  for (const auto &[Name, HostPath] : Cases) {
    ASSERT_TRUE(WriteFile(Name, "w", Name)) << Name;
    EXPECT_TRUE(std::filesystem::exists(HostPath)) << Name;
  }
}

TEST_F(StreamTest, OpeningFailsCleanlyForBadNamesAndModes) {
  std::string TooLong(1025, 'a');
  for (const char *Name : {"fs0:\\missing.txt", "fs7:\\x.txt", "blk0:\\x.txt", "fs:\\x.txt", "fs12345:\\x", "",
                           "fs0:\\tools", TooLong.c_str(), static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(crt::fopen(Name, "r"), nullptr) << (Name ? Name : "nullptr");
  }
  EXPECT_EQ(crt::fopen("fs0:\\nofolder\\x.txt", "w"), nullptr) << "the folder does not exist";
  EXPECT_FALSE(std::filesystem::exists(VolumeDir(0) + "/nofolder"));

  PutHostFile("/x.txt", "x");
  for (const char *Mode : {"r+", "w+", "x", "", "rw", "rbx", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(crt::fopen("fs0:\\x.txt", Mode), nullptr) << (Mode ? Mode : "nullptr");
  }
}

TEST_F(StreamTest, ReadsAreBufferedAndSeeksCrossTheBuffer) {
  const std::string Content = Pattern(10000);
  PutHostFile("/tools/data.bin", Content);
  Fw().ResetCounters();
  EXPECT_EQ(ReadAll("fs0:\\tools/data.bin"), Content);
  EXPECT_LE(Fw().Calls(sim::Service::FileRead), 10000u / 4096 + 3) << "one firmware read per buffer, one more at the end";

  crt::FILE *Stream = crt::fopen("data.bin", "r");
  ASSERT_NE(Stream, nullptr);
  unsigned char Byte = 0;
  auto ExpectByteAt = [&](long Offset) {
    EXPECT_EQ(crt::ftell(Stream), Offset);
    ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u) << Offset;
    EXPECT_EQ(Byte, static_cast<unsigned char>(Content[static_cast<size_t>(Offset)])) << Offset;
  };
  ExpectByteAt(0);
  Fw().ResetCounters();
  ASSERT_EQ(crt::fseek(Stream, 3000, crt::CRT_SEEK_SET), 0);
  EXPECT_EQ(Fw().Calls(sim::Service::FileSetPosition), 0u) << "inside the buffer";
  ExpectByteAt(3000);
  // Around the end of the buffered first 4 KiB, the buffer filled afresh.
  for (long Edge : {4095L, 4096L, 4097L}) {
    ASSERT_EQ(crt::fseek(Stream, 0, crt::CRT_SEEK_SET), 0);
    ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
    ASSERT_EQ(crt::fseek(Stream, Edge, crt::CRT_SEEK_SET), 0);
    ExpectByteAt(Edge);
  }
  ASSERT_EQ(crt::fseek(Stream, 5000, crt::CRT_SEEK_CUR), 0);
  ExpectByteAt(9098);
  ASSERT_EQ(crt::fseek(Stream, -9000, crt::CRT_SEEK_CUR), 0);
  ExpectByteAt(99);
  ASSERT_EQ(crt::fseek(Stream, -1, crt::CRT_SEEK_END), 0);
  ExpectByteAt(9999);
  EXPECT_EQ(crt::fread(&Byte, 1, 1, Stream), 0u);
  EXPECT_EQ(crt::feof(Stream), 1);
  EXPECT_EQ(crt::fseek(Stream, -10001, crt::CRT_SEEK_CUR), -1);
  EXPECT_EQ(crt::fseek(Stream, 0, 7), -1);
  EXPECT_EQ(crt::ftell(Stream), 10000) << "a refused seek leaves the position alone";
  ASSERT_EQ(crt::fseek(Stream, 0, crt::CRT_SEEK_CUR), 0);
  EXPECT_EQ(crt::feof(Stream), 0) << "a seek clears end-of-file";
  EXPECT_EQ(crt::fclose(Stream), 0);
}

TEST_F(StreamTest, FlushAndFprintf) {
  crt::FILE *Stream = crt::fopen("fs0:\\out.ini", "w");
  ASSERT_NE(Stream, nullptr);
  EXPECT_EQ(crt::fprintf(Stream, "[%s]\n%ls=%d\n", "BIOS", W(u"Boot Mode"), 2), 19);
  EXPECT_EQ(HostFile("/out.ini"), "") << "still buffered";
  EXPECT_EQ(crt::fflush(Stream), 0);
  EXPECT_EQ(HostFile("/out.ini"), "[BIOS]\nBoot Mode=2\n");
  std::string Long(600, 'v');
  EXPECT_EQ(crt::fprintf(Stream, "Key=%s\n", Long.c_str()), 605);
  EXPECT_EQ(crt::fflush(nullptr), 0) << "nullptr flushes every stream";
  EXPECT_EQ(HostFile("/out.ini"), "[BIOS]\nBoot Mode=2\nKey=" + Long + "\n");
  EXPECT_EQ(crt::fclose(Stream), 0);
}

TEST_F(StreamTest, MisuseAndFirmwareFailuresSurfaceAsErrors) {
  PutHostFile("/x.txt", "x");
  crt::FILE *Reader = crt::fopen("fs0:\\x.txt", "r");
  ASSERT_NE(Reader, nullptr);
  EXPECT_EQ(crt::fwrite("y", 1, 1, Reader), 0u);
  EXPECT_EQ(crt::ferror(Reader), 1) << "writing a read stream";
  EXPECT_EQ(crt::fclose(Reader), 0);
  EXPECT_EQ(HostFile("/x.txt"), "x");

  crt::FILE *Writer = crt::fopen("fs0:\\fail.txt", "w");
  ASSERT_NE(Writer, nullptr);
  ASSERT_EQ(crt::fwrite("abc", 1, 3, Writer), 3u);
  Fw().FailNthCall(sim::Service::FileWrite, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::fflush(Writer), crt::CRT_EOF);
  EXPECT_EQ(crt::ferror(Writer), 1);
  EXPECT_EQ(crt::fclose(Writer), 0) << "the failed data was dropped, nothing left to fail";

  Fw().FailNthCall(sim::Service::OpenVolume, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::fopen("fs0:\\x.txt", "r"), nullptr);
  Reader = crt::fopen("fs0:\\x.txt", "r");
  ASSERT_NE(Reader, nullptr);
  Fw().FailNthCall(sim::Service::FileRead, 1, EFI_DEVICE_ERROR);
  char Byte;
  EXPECT_EQ(crt::fread(&Byte, 1, 1, Reader), 0u);
  EXPECT_EQ(crt::ferror(Reader), 1);
  EXPECT_EQ(crt::feof(Reader), 0);
  EXPECT_EQ(crt::fclose(Reader), 0);

  // A warning is no success: it may come back with no handle, no
  // information or nothing read, and must not be taken for one.
  struct WarnedCall {
    sim::Service Call;
    const char *Mode;
    bool Opens;
  };
  const WarnedCall Warned[] = {
      {sim::Service::OpenVolume, "r", false}, {sim::Service::FileOpen, "r", false},
      {sim::Service::FileGetInfo, "r", false}, {sim::Service::FileRead, "r", true},
      {sim::Service::FileWrite, "a", true},
  };
  for (const WarnedCall &W : Warned) {
    SCOPED_TRACE(sim::ServiceName(W.Call));
    const size_t Blocks = crt::LiveBlockCount();
    Fw().FailNthCall(W.Call, 1, EFI_WARN_DELETE_FAILURE);
    crt::FILE *Stream = crt::fopen("fs0:\\x.txt", W.Mode);
    Fw().ClearFaults();
    ASSERT_EQ(Stream != nullptr, W.Opens);
    if (Stream != nullptr) {
      Fw().FailNthCall(W.Call, 1, EFI_WARN_DELETE_FAILURE);
      const size_t Moved = W.Call == sim::Service::FileRead ? crt::fread(&Byte, 1, 1, Stream) : crt::fwrite("z", 1, 1, Stream);
      EXPECT_EQ(Moved, W.Call == sim::Service::FileRead ? 0u : 1u);
      EXPECT_EQ(crt::fclose(Stream), W.Call == sim::Service::FileRead ? 0 : crt::CRT_EOF) << "a flush that warned failed";
      EXPECT_EQ(HostFile("/x.txt"), "x");
    }
    EXPECT_EQ(crt::LiveBlockCount(), Blocks);
  }

  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(crt::fopen("fs0:\\never.txt", "w"), nullptr);
  Fw().ClearFaults();
  EXPECT_FALSE(std::filesystem::exists(VolumeDir(0) + "/never.txt")) << "out of memory creates no file";
}

}  // namespace

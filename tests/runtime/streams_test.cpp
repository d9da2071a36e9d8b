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

using StreamTest = SimTest;

std::string ReadHostFile(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

void WriteHostFile(const std::string &Path, const std::string &Content) {
  std::ofstream(Path, std::ios::binary) << Content;
}

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

TEST_F(StreamTest, AppendTwiceThenReadBack) {
  ASSERT_TRUE(WriteFile("fs0:\\log.txt", "a", "first "));
  ASSERT_TRUE(WriteFile("fs0:\\log.txt", "ab", "second"));
  EXPECT_EQ(ReadAll("fs0:\\log.txt"), "first second");
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/log.txt"), "first second");
}

TEST_F(StreamTest, AppendWritesAtTheEndEvenAfterASeek) {
  WriteHostFile(VolumeDir(0) + "/log.txt", "0123456789");
  crt::FILE *Stream = crt::fopen("fs0:\\log.txt", "a");
  ASSERT_NE(Stream, nullptr);
  ASSERT_EQ(crt::fseek(Stream, 2, crt::CRT_SEEK_SET), 0);
  ASSERT_EQ(crt::fwrite("AB", 1, 2, Stream), 2u);
  EXPECT_EQ(crt::ftell(Stream), 12);
  ASSERT_EQ(crt::fclose(Stream), 0);
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/log.txt"), "0123456789AB");
}

TEST_F(StreamTest, WriteModeTruncatesAnExistingFile) {
  WriteHostFile(VolumeDir(0) + "/tools/out.ini", Pattern(10000));
  ASSERT_TRUE(WriteFile("out.ini", "w", "[BIOS]\n"));
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/tools/out.ini"), "[BIOS]\n");
  ASSERT_TRUE(WriteFile("out.ini", "wb", ""));
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/tools/out.ini"), "");
}

TEST_F(StreamTest, NamesResolveToTheRightVolumeAndFolder) {
  std::string Fs1 = MountExtraVolume();
  std::filesystem::create_directory(VolumeDir(0) + "/data");
  struct Case {
    const char *Name;
    std::string HostPath;
  } Cases[] = {
      {"relative.txt", VolumeDir(0) + "/tools/relative.txt"},
      {"\\rooted.txt", VolumeDir(0) + "/rooted.txt"},
      {"/slashed.txt", VolumeDir(0) + "/slashed.txt"},
      {"fs0:/data\\mixed.txt", VolumeDir(0) + "/data/mixed.txt"},
      {"fs0:data//double.txt", VolumeDir(0) + "/data/double.txt"},
      {"fs1:\\second.txt", Fs1 + "/second.txt"},
      {"FS1:upper.txt", Fs1 + "/upper.txt"},
  };
  for (const Case &C : Cases) {
    ASSERT_TRUE(WriteFile(C.Name, "w", C.Name)) << C.Name;
    EXPECT_EQ(ReadHostFile(C.HostPath), C.Name) << C.Name;
    EXPECT_EQ(ReadAll(C.Name), C.Name);
  }
}

TEST_F(StreamTest, OpeningFailsCleanlyForBadNamesAndModes) {
  std::string TooLong(1025, 'a');
  const char *BadNames[] = {"fs0:\\missing.txt", "fs7:\\x.txt", "blk0:\\x.txt", "fs:\\x.txt", "fs12345:\\x",
                            "", "fs0:\\tools", TooLong.c_str()};
  for (const char *Name : BadNames) EXPECT_EQ(crt::fopen(Name, "r"), nullptr) << Name;
  EXPECT_EQ(crt::fopen(nullptr, "r"), nullptr);
  EXPECT_EQ(crt::fopen("fs0:\\nofolder\\x.txt", "w"), nullptr) << "the folder does not exist";
  EXPECT_FALSE(std::filesystem::exists(VolumeDir(0) + "/nofolder"));

  WriteHostFile(VolumeDir(0) + "/x.txt", "x");
  for (const char *Mode : {"r+", "w+", "x", "", "rw", "rbx"}) EXPECT_EQ(crt::fopen("fs0:\\x.txt", Mode), nullptr) << Mode;
  EXPECT_EQ(crt::fopen("fs0:\\x.txt", nullptr), nullptr);
}

TEST_F(StreamTest, SmallReadsAreBuffered) {
  const std::string Content = Pattern(10000);
  WriteHostFile(VolumeDir(0) + "/tools/bioscfg.str", Content);
  crt::FILE *Stream = crt::fopen("fs0:\\tools/bioscfg.str", "rb");
  ASSERT_NE(Stream, nullptr);
  Fw().ResetCounters();
  std::string Read;
  UINT16 Word = 0;
  while (crt::fread(&Word, sizeof(Word), 1, Stream) == 1) Read.append(reinterpret_cast<char *>(&Word), 2);
  EXPECT_EQ(Read, Content);
  EXPECT_LE(Fw().Calls(sim::Service::FileRead), 10000u / 4096 + 2) << "one firmware read per buffer";
  EXPECT_EQ(crt::feof(Stream), 1);
  EXPECT_EQ(crt::ferror(Stream), 0);
  EXPECT_EQ(crt::fclose(Stream), 0);
}

TEST_F(StreamTest, SeekAndTellAcrossTheBuffer) {
  const std::string Content = Pattern(10000);
  WriteHostFile(VolumeDir(0) + "/data.bin", Content);
  crt::FILE *Stream = crt::fopen("fs0:\\data.bin", "r");
  ASSERT_NE(Stream, nullptr);
  auto ByteAt = [&](long Offset) { return static_cast<unsigned char>(Content[static_cast<size_t>(Offset)]); };
  unsigned char Byte = 0;

  ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
  EXPECT_EQ(crt::ftell(Stream), 1);
  Fw().ResetCounters();
  ASSERT_EQ(crt::fseek(Stream, 3000, crt::CRT_SEEK_SET), 0);
  EXPECT_EQ(Fw().Calls(sim::Service::FileSetPosition), 0u) << "inside the buffer";
  ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
  EXPECT_EQ(Byte, ByteAt(3000));

  // Around the end of the buffered first 4 KiB, the buffer filled afresh
  // from offset 0 each time.
  for (long Edge : {4095L, 4096L, 4097L}) {
    ASSERT_EQ(crt::fseek(Stream, 0, crt::CRT_SEEK_SET), 0);
    ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
    ASSERT_EQ(crt::fseek(Stream, Edge, crt::CRT_SEEK_SET), 0);
    ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
    EXPECT_EQ(Byte, ByteAt(Edge)) << Edge;
  }
  ASSERT_EQ(crt::fseek(Stream, 3001, crt::CRT_SEEK_SET), 0);

  ASSERT_EQ(crt::fseek(Stream, 5000, crt::CRT_SEEK_CUR), 0);
  EXPECT_EQ(crt::ftell(Stream), 8001);
  ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
  EXPECT_EQ(Byte, ByteAt(8001));

  ASSERT_EQ(crt::fseek(Stream, -8000, crt::CRT_SEEK_CUR), 0);
  EXPECT_EQ(crt::ftell(Stream), 2);
  ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
  EXPECT_EQ(Byte, ByteAt(2));

  ASSERT_EQ(crt::fseek(Stream, -1, crt::CRT_SEEK_END), 0);
  EXPECT_EQ(crt::ftell(Stream), 9999);
  ASSERT_EQ(crt::fread(&Byte, 1, 1, Stream), 1u);
  EXPECT_EQ(Byte, ByteAt(9999));
  EXPECT_EQ(crt::fread(&Byte, 1, 1, Stream), 0u);
  EXPECT_EQ(crt::feof(Stream), 1);
  ASSERT_EQ(crt::fseek(Stream, 0, crt::CRT_SEEK_SET), 0);
  EXPECT_EQ(crt::feof(Stream), 0) << "a seek clears end-of-file";

  EXPECT_EQ(crt::fseek(Stream, -1, crt::CRT_SEEK_SET), -1);
  EXPECT_EQ(crt::fseek(Stream, 0, 7), -1);
  EXPECT_EQ(crt::ftell(Stream), 0) << "a refused seek leaves the position alone";
  EXPECT_EQ(crt::fclose(Stream), 0);
}

TEST_F(StreamTest, WritesAfterASeekLandInPlace) {
  crt::FILE *Stream = crt::fopen("fs0:\\patch.bin", "w");
  ASSERT_NE(Stream, nullptr);
  const std::string Content = Pattern(6000);
  ASSERT_EQ(crt::fwrite(Content.data(), 1, Content.size(), Stream), Content.size());
  EXPECT_EQ(crt::ftell(Stream), 6000);
  ASSERT_EQ(crt::fseek(Stream, 10, crt::CRT_SEEK_SET), 0);
  ASSERT_EQ(crt::fwrite("ABC", 1, 3, Stream), 3u);
  EXPECT_EQ(crt::ftell(Stream), 13);
  ASSERT_EQ(crt::fclose(Stream), 0);
  std::string Expected = Content;
  Expected.replace(10, 3, "ABC");
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/patch.bin"), Expected);
}

TEST_F(StreamTest, FflushWritesPendingData) {
  crt::FILE *Stream = crt::fopen("fs0:\\flush.txt", "w");
  ASSERT_NE(Stream, nullptr);
  ASSERT_EQ(crt::fwrite("abc", 1, 3, Stream), 3u);
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/flush.txt"), "") << "still buffered";
  EXPECT_EQ(crt::fflush(Stream), 0);
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/flush.txt"), "abc");
  ASSERT_EQ(crt::fwrite("d", 1, 1, Stream), 1u);
  EXPECT_EQ(crt::fflush(nullptr), 0) << "nullptr flushes every stream";
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/flush.txt"), "abcd");
  EXPECT_EQ(crt::fclose(Stream), 0);
}

TEST_F(StreamTest, FprintfFormatsShortAndLongLines) {
  crt::FILE *Stream = crt::fopen("fs0:\\out.ini", "w");
  ASSERT_NE(Stream, nullptr);
  EXPECT_EQ(crt::fprintf(Stream, "[%s]\n%ls=%d\n", "BIOS", W(u"Boot Mode"), 2), 19);
  std::string Long(600, 'v');
  EXPECT_EQ(crt::fprintf(Stream, "Key=%s\n", Long.c_str()), 605);
  ASSERT_EQ(crt::fclose(Stream), 0);
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/out.ini"), "[BIOS]\nBoot Mode=2\nKey=" + Long + "\n");
}

TEST_F(StreamTest, WrongDirectionSetsTheErrorFlag) {
  WriteHostFile(VolumeDir(0) + "/x.txt", "x");
  crt::FILE *Reader = crt::fopen("fs0:\\x.txt", "r");
  ASSERT_NE(Reader, nullptr);
  EXPECT_EQ(crt::fwrite("y", 1, 1, Reader), 0u);
  EXPECT_EQ(crt::ferror(Reader), 1);
  EXPECT_EQ(crt::fclose(Reader), 0);

  crt::FILE *Writer = crt::fopen("fs0:\\y.txt", "w");
  ASSERT_NE(Writer, nullptr);
  char Byte;
  EXPECT_EQ(crt::fread(&Byte, 1, 1, Writer), 0u);
  EXPECT_EQ(crt::ferror(Writer), 1);
  EXPECT_EQ(crt::fclose(Writer), 0);
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/x.txt"), "x");
}

TEST_F(StreamTest, FirmwareFailuresSurfaceAsErrors) {
  crt::FILE *Stream = crt::fopen("fs0:\\fail.txt", "w");
  ASSERT_NE(Stream, nullptr);
  ASSERT_EQ(crt::fwrite("abc", 1, 3, Stream), 3u);
  Fw().FailNthCall(sim::Service::FileWrite, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::fflush(Stream), crt::CRT_EOF);
  EXPECT_EQ(crt::ferror(Stream), 1);
  EXPECT_EQ(crt::fclose(Stream), 0) << "the failed data was dropped, nothing left to fail";

  Fw().FailNthCall(sim::Service::FileOpen, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::fopen("fs0:\\fail.txt", "r"), nullptr);
  Fw().FailNthCall(sim::Service::OpenVolume, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(crt::fopen("fs0:\\fail.txt", "r"), nullptr);

  WriteHostFile(VolumeDir(0) + "/big.bin", Pattern(100));
  crt::FILE *Reader = crt::fopen("fs0:\\big.bin", "r");
  ASSERT_NE(Reader, nullptr);
  Fw().FailNthCall(sim::Service::FileRead, 1, EFI_DEVICE_ERROR);
  char Byte;
  EXPECT_EQ(crt::fread(&Byte, 1, 1, Reader), 0u);
  EXPECT_EQ(crt::ferror(Reader), 1);
  EXPECT_EQ(crt::feof(Reader), 0);
  EXPECT_EQ(crt::fclose(Reader), 0);
}

TEST_F(StreamTest, OutOfMemoryCreatesNoFile) {
  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(crt::fopen("fs0:\\never.txt", "w"), nullptr);
  Fw().ClearFaults();
  EXPECT_FALSE(std::filesystem::exists(VolumeDir(0) + "/never.txt"));
}

}  // namespace

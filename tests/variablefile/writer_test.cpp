// The freestanding writer: the exact line it writes, what it refuses, how
// it talks to a sink and a buffer, and that the reader takes back what it
// wrote at the format's limits.
#include "variablefile/variable_reader.h"
#include "variablefile/variable_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace variablefile;

constexpr EFI_GUID kGuid = {0xC7F7C970, 0xFCFF, 0x455D, {0xA8, 0x84, 0xF6, 0x7C, 0x0E, 0x30, 0x08, 0x56}};

// A variable whose name and data live as long as it does.
struct Owned {
  std::u16string Name;
  std::vector<UINT8> Data;
  UINT32 Attributes = 7;
  StoreVariable View() const {
    return StoreVariable{reinterpret_cast<const CHAR16 *>(Name.data()), Name.size(), kGuid, Attributes, Data.data(),
                         Data.size(), 0};
  }
};

// A sink that keeps every piece, and refuses once Limit characters came.
struct Collector {
  std::string Text;
  std::vector<size_t> Pieces;
  size_t Limit = SIZE_MAX;
  static bool Take(void *Context, const char *Text, size_t Length) {
    auto &C = *static_cast<Collector *>(Context);
    if (C.Text.size() + Length > C.Limit) return false;
    C.Text.append(Text, Length);
    C.Pieces.push_back(Length);
    return true;
  }
};

std::string LineOf(const Owned &V) {
  Collector C;
  EXPECT_EQ(WriteVariableLine(V.View(), Collector::Take, &C), VariableWriteError::None);
  EXPECT_EQ(C.Text.size(), VariableLineLength(V.View()));
  return C.Text;
}

TEST(VariableWriter, WritesTheLineTheFormatDescribes) {
  EXPECT_EQ(LineOf({u"Setup", {0x00, 0x1F, 0xA0, 0xFF}, 7}),
            "Setup {C7F7C970-FCFF-455D-A884-F67C0E300856} 0x7 001FA0FF\n");
  EXPECT_EQ(LineOf({u"Empty", {}, 0}), "Empty {C7F7C970-FCFF-455D-A884-F67C0E300856} 0x0 -\n");
  EXPECT_EQ(LineOf({u"All", {1}, 0x80000047}), "All {C7F7C970-FCFF-455D-A884-F67C0E300856} 0x80000047 01\n");
  EXPECT_EQ(std::string(VARIABLE_STORE_HEADER), "# NAME GUID ATTRIBUTES DATA\n");
}

TEST(VariableWriter, RefusesWhatTheReaderCouldNotTakeBackAndWritesNothing) {
  const std::u16string Longest(VARIABLE_STORE_MAX_NAME, u'N');
  struct Case {
    const char *What;
    Owned Variable;
    VariableWriteError Error;
  };
  const Case Cases[] = {
      {"empty name", {u"", {1}}, VariableWriteError::BadName},
      {"blank in the name", {u"Set up", {1}}, VariableWriteError::BadName},
      {"DEL in the name", {u"Set\x7Fup", {1}}, VariableWriteError::BadName},
      {"wide character in the name", {u"Set\x0100up", {1}}, VariableWriteError::BadName},
      {"name one too long", {Longest + u"N", {1}}, VariableWriteError::NameTooLong},
      {"data one byte too long", {u"Setup", std::vector<UINT8>(VARIABLE_STORE_MAX_DATA + 1)},
       VariableWriteError::DataTooLong},
  };
  for (const Case &C : Cases) {
    Collector Sink;
    EXPECT_EQ(WriteVariableLine(C.Variable.View(), Collector::Take, &Sink), C.Error) << C.What;
    EXPECT_EQ(VariableLineLength(C.Variable.View()), 0u) << C.What;
    EXPECT_TRUE(Sink.Text.empty()) << C.What;
  }
  const Owned Setup{u"Setup", {}};
  StoreVariable NoData = Setup.View();
  NoData.DataSize = 4;
  EXPECT_EQ(CheckStoreVariable(NoData), VariableWriteError::MissingData);
}

// A long line reaches the sink in bounded pieces; a refusing sink stops it.
TEST(VariableWriter, HandsLongLinesOverInPiecesAndStopsWhenTheSinkRefuses) {
  const Owned Big{u"Big", std::vector<UINT8>(1000, 0xAB)};
  Collector Whole;
  ASSERT_EQ(WriteVariableLine(Big.View(), Collector::Take, &Whole), VariableWriteError::None);
  EXPECT_GT(Whole.Pieces.size(), 1u);
  for (size_t Piece : Whole.Pieces) EXPECT_LE(Piece, 128u);
  EXPECT_EQ(Whole.Text.size(), VariableLineLength(Big.View()));

  Collector Short;
  Short.Limit = 300;
  EXPECT_EQ(WriteVariableLine(Big.View(), Collector::Take, &Short), VariableWriteError::SinkFailed);
  EXPECT_EQ(Whole.Text.compare(0, Short.Text.size(), Short.Text), 0);
}

TEST(VariableWriter, AppendsWholeLinesToABufferOrNothing) {
  const Owned A{u"A", {1, 2}}, B{u"B", {}};
  const size_t LengthA = VariableLineLength(A.View()), LengthB = VariableLineLength(B.View());
  std::vector<char> Block(LengthA + LengthB, '#');
  TextBuffer Buffer{Block.data(), LengthA + LengthB - 1, 0};
  ASSERT_EQ(AppendVariableLine(A.View(), Buffer), VariableWriteError::None);
  EXPECT_EQ(Buffer.Used, LengthA);
  EXPECT_EQ(AppendVariableLine(B.View(), Buffer), VariableWriteError::BufferTooSmall);  // one character short
  EXPECT_EQ(Buffer.Used, LengthA);
  EXPECT_EQ(Block.back(), '#');  // not a byte beyond what fitted
  Buffer.Size = Block.size();
  ASSERT_EQ(AppendVariableLine(B.View(), Buffer), VariableWriteError::None);
  EXPECT_EQ(std::string(Block.data(), Buffer.Used), LineOf(A) + LineOf(B));
}

// What the writer writes at the format's limits, the reader reads back.
TEST(VariableWriter, TheReaderTakesBackWhatItWrites) {
  std::u16string Printable;
  for (char16_t C = 0x21; C <= 0x7E; ++C) Printable += C;
  std::vector<UINT8> AllBytes(VARIABLE_STORE_MAX_DATA);
  for (size_t I = 0; I < AllBytes.size(); ++I) AllBytes[I] = static_cast<UINT8>(I * 7);
  const std::vector<Owned> Written = {
      {Printable, {0}, 0xFFFFFFFF},
      {std::u16string(VARIABLE_STORE_MAX_NAME, u'x'), AllBytes, 3},
      {u"E", {}, 0},
  };
  std::string Text = VARIABLE_STORE_HEADER;
  for (const Owned &V : Written) Text += LineOf(V);

  std::vector<CHAR16> Name(VARIABLE_STORE_MAX_NAME + 1);
  std::vector<UINT8> Data(VARIABLE_STORE_MAX_DATA);
  std::vector<Owned> Read;
  const VariableStoreResult Result = ReadVariableStore(
      Text.data(), Text.size(), {Name.data(), Name.size(), Data.data(), Data.size()},
      [](void *Context, const StoreVariable &V) {
        static_cast<std::vector<Owned> *>(Context)->push_back(
            Owned{std::u16string(reinterpret_cast<const char16_t *>(V.Name), V.NameLength),
                  std::vector<UINT8>(V.Data, V.Data + V.DataSize), V.Attributes});
      },
      &Read);
  ASSERT_EQ(Result.Error, VariableStoreError::None);
  ASSERT_EQ(Read.size(), Written.size());
  for (size_t I = 0; I < Read.size(); ++I) {
    EXPECT_EQ(Read[I].Name, Written[I].Name);
    EXPECT_EQ(Read[I].Data, Written[I].Data);
    EXPECT_EQ(Read[I].Attributes, Written[I].Attributes);
  }
}

}  // namespace

// The builder's freestanding core: what it reports instead of throwing,
// that a failed write leaves the buffer as it was, and that the opcodes
// land where the shared layout header says the parser reads them.
#include "hiibuild/export_encoder.h"
#include "hiibuild/ifr_encoder.h"
#include "hiibuild/little_endian.h"
#include "hiibuild/pack_encoder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <vector>

namespace {

using namespace hiibuild;

// malloc with a budget of allocations and a count of blocks not yet freed.
struct TestMemory {
  size_t AllocationsLeft = SIZE_MAX;
  size_t Live = 0;

  Allocator Get() { return Allocator{Allocate, Free, this}; }
  static void *Allocate(void *Context, size_t Bytes) {
    auto &M = *static_cast<TestMemory *>(Context);
    if (M.AllocationsLeft == 0) return nullptr;
    --M.AllocationsLeft;
    ++M.Live;
    return std::malloc(Bytes);
  }
  static void Free(void *Context, void *Block) {
    --static_cast<TestMemory *>(Context)->Live;
    std::free(Block);
  }
};

std::vector<UINT8> Contents(const ByteBuffer &B) { return std::vector<UINT8>(B.Data(), B.Data() + B.Size()); }

constexpr EFI_GUID kGuid = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
const CHAR16 kSetup[] = {'S', 'e', 't', 'u', 'p'};

TEST(ByteBuffer, KeepsItsBytesAsItGrowsAndGivesEveryBlockBack) {
  TestMemory Memory;
  std::vector<UINT8> Expected;
  {
    ByteBuffer Buffer(Memory.Get());
    for (UINT8 I = 0; Expected.size() < 3000; ++I) {
      const UINT8 Chunk[7] = {I, 1, 2, 3, 4, 5, static_cast<UINT8>(~I)};
      ASSERT_EQ(Buffer.Append(Chunk, sizeof Chunk), BuildStatus::Success);
      Expected.insert(Expected.end(), Chunk, Chunk + sizeof Chunk);
    }
    EXPECT_EQ(Contents(Buffer), Expected);
    EXPECT_EQ(Memory.Live, 1u);  // each larger block replaced the one before
    EXPECT_EQ(Buffer.Append(nullptr, 1), BuildStatus::InvalidArgument);
    EXPECT_EQ(Buffer.Extend(SIZE_MAX), nullptr);
    EXPECT_EQ(Contents(Buffer), Expected);
  }
  EXPECT_EQ(Memory.Live, 0u);

  ByteBuffer Owner(Memory.Get());
  ASSERT_EQ(Owner.Append("ab", 2), BuildStatus::Success);
  UINT8 *Taken = Owner.Release();
  EXPECT_EQ(Owner.Size(), 0u);
  EXPECT_EQ(Memory.Live, 1u);  // now the caller's to free
  TestMemory::Free(&Memory, Taken);
}

// Each writer, run with 0, 1, 2, ... allocations allowed, either writes
// exactly what it writes with memory to spare or reports OutOfMemory and
// leaves the bytes before it untouched; nothing leaks either way.
TEST(Core, EveryWriteIsWholeOrNothingWhenMemoryRunsOut) {
  const std::vector<UINT8> Filler(200, 0xEE);  // the first block (256) is nearly full
  const std::vector<UINT8> LongCode(3000, 0x42);
  const WideText Strings[] = {{kSetup, 0}, {kSetup, 5}, {nullptr, 0}};
  const CHAR16 Eng[] = {'e', 'n', 'g'};
  const ByteSpan Pack{Filler.data(), 100};
  const ByteSpan Tables[] = {{Filler.data(), 60}, {LongCode.data(), 1000}};
  struct Writer {
    const char *Name;
    std::function<BuildStatus(ByteBuffer &)> Write;
  };
  const Writer Writers[] = {
      {"form set", [](ByteBuffer &B) { return IfrEncoder(B).FormSet(kGuid, 1, 2, 3, 4, 5); }},
      {"eq-id-list", [](ByteBuffer &B) {
         const UINT16 Values[100] = {};
         return IfrEncoder(B).EqIdList(1, 1, Values, 100);
       }},
      {"string pack", [&](ByteBuffer &B) { return WriteStringPack(B, {{Eng, 3}, {Eng, 3}, Strings, 3}); }},
      {"variable pack", [](ByteBuffer &B) { return WriteVariablePack(B, kGuid, 1, {kSetup, 5}); }},
      {"IFR pack", [&](ByteBuffer &B) { return WriteIfrPack(B, {LongCode.data(), LongCode.size()}); }},
      {"data table", [&](ByteBuffer &B) {
         return WriteDataTable(B, DataTableParts{1, kGuid, &Pack, 1, true, {LongCode.data(), LongCode.size()}, &Pack,
                                                 1, PackOrder::VariablesIfrStrings});
       }},
      {"export", [&](ByteBuffer &B) { return WriteExport(B, ExportHeaderStyle::Extended, Tables, 2); }},
  };
  for (const Writer &W : Writers) {
    SCOPED_TRACE(W.Name);
    TestMemory Plenty;
    std::vector<UINT8> Whole;
    {
      ByteBuffer B(Plenty.Get());
      ASSERT_EQ(B.Append(Filler.data(), Filler.size()), BuildStatus::Success);
      ASSERT_EQ(W.Write(B), BuildStatus::Success);
      Whole = Contents(B);
    }
    bool Succeeded = false;
    for (size_t Budget = 1; !Succeeded && Budget < 10; ++Budget) {
      TestMemory Memory;
      Memory.AllocationsLeft = Budget;
      {
        ByteBuffer B(Memory.Get());
        ASSERT_EQ(B.Append(Filler.data(), Filler.size()), BuildStatus::Success);
        const BuildStatus Status = W.Write(B);
        Succeeded = Status == BuildStatus::Success;
        if (Succeeded) {
          EXPECT_EQ(Contents(B), Whole);
        } else {
          EXPECT_EQ(Status, BuildStatus::OutOfMemory) << "budget " << Budget;
          EXPECT_EQ(Contents(B), Filler) << "budget " << Budget;
        }
      }
      EXPECT_EQ(Memory.Live, 0u);
    }
    EXPECT_TRUE(Succeeded);
  }
}

// The encoder and the parser's structs describe the same bytes.
TEST(IfrEncoder, OperandsLieWhereTheLayoutHeaderPutsThem) {
  TestMemory Memory;
  ByteBuffer B(Memory.Get());
  IfrEncoder Ifr(B);
  ASSERT_EQ(Ifr.Numeric(0x0123, 2, 7, 8, 0, 0, NumericRange{5, 500, 25, 42}), BuildStatus::Success);
  ASSERT_EQ(Ifr.FormSet(kGuid, 1, 2, 0, 0, 0), BuildStatus::Success);
  ASSERT_EQ(Ifr.VarStore(kGuid, 0x0304, 16, "Setup", 5), BuildStatus::Success);
  const UINT16 List[] = {9, 10};
  ASSERT_EQ(Ifr.EqIdList(0x0040, 1, List, 2), BuildStatus::Success);

  const UINT8 *Numeric = B.Data();
  EXPECT_EQ(Numeric[offsetof(IFR_OP_HEADER, OpCode)], IFR_OP_NUMERIC);
  EXPECT_EQ(Numeric[offsetof(IFR_OP_HEADER, Length)], IFR_LENGTH_NUMERIC);
  EXPECT_EQ(GetLe16(Numeric + offsetof(IFR_NUMERIC, QuestionId)), 0x0123);
  EXPECT_EQ(Numeric[offsetof(IFR_NUMERIC, Width)], 2);
  EXPECT_EQ(GetLe16(Numeric + offsetof(IFR_NUMERIC, Prompt)), 7);
  EXPECT_EQ(GetLe16(Numeric + offsetof(IFR_NUMERIC, Minimum)), 5);
  EXPECT_EQ(GetLe16(Numeric + offsetof(IFR_NUMERIC, Maximum)), 500);
  EXPECT_EQ(GetLe16(Numeric + offsetof(IFR_NUMERIC, Step)), 25);
  EXPECT_EQ(GetLe16(Numeric + sizeof(IFR_NUMERIC)), 42);  // the default follows

  const UINT8 *FormSet = Numeric + IFR_LENGTH_NUMERIC;
  EXPECT_EQ(FormSet[0], IFR_OP_FORM_SET);
  EXPECT_EQ(GetLe32(FormSet + offsetof(IFR_FORM_SET, Guid)), kGuid.Data1);
  EXPECT_EQ(FormSet[offsetof(IFR_FORM_SET, Guid) + 8], kGuid.Data4[0]);

  const UINT8 *VarStore = FormSet + IFR_LENGTH_FORM_SET;
  EXPECT_EQ(VarStore[1], IFR_LENGTH_VARSTORE_HEAD + 6);
  EXPECT_EQ(GetLe16(VarStore + offsetof(IFR_VARSTORE, VarId)), 0x0304);
  EXPECT_EQ(VarStore[IFR_LENGTH_VARSTORE_HEAD + 5], 0);  // the name's NUL ends the opcode

  const UINT8 *EqList = VarStore + IFR_LENGTH_VARSTORE_HEAD + 6;
  EXPECT_EQ(GetLe16(EqList + offsetof(IFR_EQ_ID_LIST, ListLength)), 2);
  EXPECT_EQ(GetLe16(EqList + sizeof(IFR_EQ_ID_LIST) + 2), 10);
  EXPECT_EQ(EqList + EqList[1], B.Data() + B.Size());
}

TEST(IfrEncoder, RefusesOpcodesTheLengthByteCannotDescribe) {
  TestMemory Memory;
  ByteBuffer B(Memory.Get());
  IfrEncoder Ifr(B);
  const std::vector<UINT16> Values(125, 1);
  const std::string Name(233, 'n');
  EXPECT_EQ(Ifr.EqIdList(0, 1, Values.data(), 124), BuildStatus::Success);  // 7 + 248 = 255
  EXPECT_EQ(Ifr.VarStore(kGuid, 1, 1, Name.data(), 232), BuildStatus::Success);  // 22 + 233 = 255
  const size_t Written = B.Size();
  EXPECT_EQ(Ifr.EqIdList(0, 1, Values.data(), 125), BuildStatus::TooLong);
  EXPECT_EQ(Ifr.VarStore(kGuid, 1, 1, Name.data(), 233), BuildStatus::TooLong);
  EXPECT_EQ(Ifr.EqIdList(0, 1, nullptr, 1), BuildStatus::InvalidArgument);
  EXPECT_EQ(Ifr.VarStore(kGuid, 1, 1, nullptr, 1), BuildStatus::InvalidArgument);
  EXPECT_EQ(B.Size(), Written);
}

// Byte for byte, against a pack written out by hand.
TEST(StringPack, PointersNamesAndTextsInTheirPlaces) {
  TestMemory Memory;
  ByteBuffer B(Memory.Get());
  const CHAR16 En[] = {'e', 'n'};
  const CHAR16 Hi[] = {'H', 'i'};
  const WideText Strings[] = {{Hi, 0}, {Hi, 2}, {nullptr, 0}};
  ASSERT_EQ(WriteStringPack(B, {{En, 2}, {En, 1}, Strings, 3}), BuildStatus::Success);
  const std::vector<UINT8> Expected = {
      52, 0, 0, 0, 2, 0,             // length, type
      34, 0, 0, 0, 40, 0, 0, 0,      // language name, printable name
      3, 0, 0, 0, 0, 0, 0, 0,        // three pointers, attributes
      44, 0, 0, 0, 46, 0, 0, 0,      // token 0 (empty), token 1
      0xFF, 0xFF, 0xFF, 0xFF,        // token 2: no text in this language
      'e', 0, 'n', 0, 0, 0,          // "en"
      'e', 0, 0, 0,                  // "e"
      0, 0,                          // ""
      'H', 0, 'i', 0, 0, 0,          // "Hi"
  };
  EXPECT_EQ(Contents(B), Expected);
  EXPECT_EQ(WriteStringPack(B, {{nullptr, 2}, {En, 1}, Strings, 3}), BuildStatus::InvalidArgument);
  EXPECT_EQ(WriteStringPack(B, {{En, 2}, {En, 1}, nullptr, 3}), BuildStatus::InvalidArgument);
  EXPECT_EQ(B.Size(), Expected.size());
}

// Sizes that their 16- and 32-bit fields cannot hold are refused before a
// byte is read or written (the spans below are never read).
TEST(ExportEncoder, RefusesCountsAndSizesTheirFieldsCannotHold) {
  TestMemory Memory;
  ByteBuffer B(Memory.Get());
  const UINT8 Byte = 0;
  const ByteSpan Huge{&Byte, 0xFFFFFFFFu - sizeof(HII_DATA_TABLE) + 1};
  EXPECT_EQ(WriteDataTable(B, DataTableParts{1, kGuid, &Huge, 1, false, {}, nullptr, 0, PackOrder::VariablesIfrStrings}),
            BuildStatus::TooLong);
  EXPECT_EQ(WriteIfrPack(B, {&Byte, 0xFFFFFFFFu}), BuildStatus::TooLong);
  EXPECT_EQ(WriteExportHeader(B, ExportHeaderStyle::Classic, 0x10000), BuildStatus::TooLong);
  EXPECT_EQ(B.Size(), 0u);

  ASSERT_EQ(WriteExportHeader(B, ExportHeaderStyle::Classic, 0xFFFF), BuildStatus::Success);
  ASSERT_EQ(WriteExportHeader(B, ExportHeaderStyle::Extended, 0x10000), BuildStatus::Success);
  ASSERT_EQ(B.Size(), sizeof(HII_EXPORT_HEADER) + sizeof(HII_EXPORT_HEADER_WIDE));
  EXPECT_EQ(GetLe16(B.Data()), 0xFFFF);
  EXPECT_EQ(GetLe32(B.Data() + offsetof(HII_EXPORT_HEADER, Revision)), gFrameworkHiiProtocolGuid.Data1);
  const UINT8 *Wide = B.Data() + sizeof(HII_EXPORT_HEADER);
  EXPECT_EQ(GetLe32(Wide), 0x10000u);
  EXPECT_EQ(GetLe32(Wide + offsetof(HII_EXPORT_HEADER_WIDE, Revision)), gFrameworkHiiLaterProtocolGuid.Data1);
}

TEST(ByteCursor, DropsWritesPastItsEnd) {
  UINT8 Block[6] = {9, 9, 9, 9, 9, 9};
  ByteCursor Cursor(Block, Block + 5);
  Cursor.U32(0x04030201).U16(0x0605);
  EXPECT_TRUE(Cursor.Overran());
  EXPECT_EQ(Block[4], 9);  // the 16-bit field did not fit and was not written
  EXPECT_EQ(Block[5], 9);
  EXPECT_EQ(GetLe32(Block), 0x04030201u);
}

}  // namespace

// libFuzzer target: the variable-store text (variables.txt, --variables).
//
// The HII provider seeds a firmware's variables from this file at boot, so
// a damaged or hostile file must never make the reader step outside the
// text or the buffers it was lent. Each input is read three times:
//   - with buffers that take any valid line; a text read whole is written
//     back by the freestanding writer, into a buffer of exactly the measured
//     size, and read again, and must give the same variables (so what is
//     written, by the host tool or on firmware, is what is read next time);
//   - with small buffers, where every variable handed over must still fit
//     and the walk must agree with the first read up to where it stops;
//   - with no visitor, which must reach the same verdict.
// The error text is made into buffers of every small size and must always
// end inside them.
#include "fuzz/fuzz_platform.h"
#include "platform/sample_platform.h"
#include "platform/variable_store_text.h"
#include "variablefile/variable_reader.h"
#include "variablefile/variable_writer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t SMALL_NAME_UNITS = 9;  // eight characters and the NUL
constexpr size_t SMALL_DATA_BYTES = 4;

struct Taken {
  std::u16string Name;
  EFI_GUID Guid;
  UINT32 Attributes;
  std::vector<UINT8> Data;
  size_t Line;
};

struct Walk {
  const variablefile::VariableStoreBuffers *Buffers;
  std::vector<Taken> Variables;
  variablefile::VariableStoreResult Result;
};

void Check(bool Holds) {
  if (!Holds) std::abort();
}

void Take(void *Context, const variablefile::StoreVariable &V) {
  Walk &W = *static_cast<Walk *>(Context);
  const variablefile::VariableStoreBuffers &B = *W.Buffers;
  // Handed-over fields lie in the lent buffers, terminated and in bounds.
  Check(V.Name == B.Name && V.NameLength + 1 <= B.NameUnits && V.Name[V.NameLength] == 0);
  Check(V.NameLength >= 1 && V.NameLength <= variablefile::VARIABLE_STORE_MAX_NAME);
  for (size_t N = 0; N < V.NameLength; ++N) Check(V.Name[N] > 0x20 && V.Name[N] < 0x7F);
  Check(V.DataSize <= B.DataBytes && V.DataSize <= variablefile::VARIABLE_STORE_MAX_DATA);
  Check(V.DataSize == 0 || V.Data == B.Data);
  Check(W.Variables.empty() || V.Line > W.Variables.back().Line);
  Taken T{std::u16string(reinterpret_cast<const char16_t *>(V.Name), V.NameLength), V.Guid, V.Attributes,
          std::vector<UINT8>(V.Data, V.Data + V.DataSize), V.Line};
  W.Variables.push_back(std::move(T));
}

bool SameVariable(const Taken &A, const Taken &B) {
  return A.Name == B.Name && std::memcmp(&A.Guid, &B.Guid, sizeof A.Guid) == 0 && A.Attributes == B.Attributes &&
         A.Data == B.Data;
}

Walk ReadWith(const std::vector<char> &Text, size_t NameUnits, size_t DataBytes) {
  std::vector<CHAR16> Name(NameUnits);
  std::vector<UINT8> Data(DataBytes);
  const variablefile::VariableStoreBuffers Buffers{Name.data(), Name.size(), Data.data(), Data.size()};
  Walk W{&Buffers, {}, {}};
  W.Result = variablefile::ReadVariableStore(Text.data(), Text.size(), Buffers, Take, &W);
  W.Buffers = nullptr;
  return W;
}

void CheckDescriptions(const variablefile::VariableStoreResult &Result) {
  char Text[64];
  for (size_t Size = 1; Size <= sizeof Text; Size += 7) {
    std::memset(Text, 'x', sizeof Text);
    const size_t Written = variablefile::DescribeVariableStoreError(Result, Text, Size);
    Check(Written < Size && Text[Written] == '\0');
  }
}

// Writes Variables with the freestanding writer into a block of exactly the
// size it measures (so a write past it is caught) and expects them back.
void CheckRoundTrip(const std::vector<Taken> &Variables) {
  std::vector<variablefile::StoreVariable> Lines;
  size_t Total = 0;
  for (const Taken &T : Variables) {
    Lines.push_back(variablefile::StoreVariable{reinterpret_cast<const CHAR16 *>(T.Name.data()), T.Name.size(), T.Guid,
                                                T.Attributes, T.Data.data(), T.Data.size(), 0});
    const size_t Length = variablefile::VariableLineLength(Lines.back());
    Check(Length > 0 && Length - 1 <= variablefile::VARIABLE_STORE_MAX_LINE);
    Total += Length;
  }
  std::vector<char> Written(Total);
  variablefile::TextBuffer Buffer{Written.data(), Written.size(), 0};
  for (const variablefile::StoreVariable &Line : Lines)
    Check(variablefile::AppendVariableLine(Line, Buffer) == variablefile::VariableWriteError::None);
  Check(Buffer.Used == Total);
  // A full buffer takes nothing more.
  if (!Lines.empty())
    Check(variablefile::AppendVariableLine(Lines[0], Buffer) == variablefile::VariableWriteError::BufferTooSmall &&
          Buffer.Used == Total);

  const Walk Again = ReadWith(Written, variablefile::VARIABLE_STORE_MAX_NAME + 1, variablefile::VARIABLE_STORE_MAX_DATA);
  Check(Again.Result.Error == variablefile::VariableStoreError::None);
  Check(Again.Variables.size() == Variables.size());
  for (size_t N = 0; N < Variables.size(); ++N) Check(SameVariable(Again.Variables[N], Variables[N]));
}

void WriteSeeds(const char *Folder) {
  fuzz::WriteSeed(Folder, "sample_platform", platform::FormatVariableStore(platform::Sample().Variables));
  fuzz::WriteSeed(Folder, "forms",
                  "# comment\r\n\r\nSetup C7F7C970-FCFF-455D-A884-F67C0E300856 7 0001FF\r\n"
                  "Empty {C7F7C970-FCFF-455D-A884-F67C0E300856} 0x3 -\n"
                  "\tTabbed  {C7F7C970-FCFF-455D-A884-F67C0E300856}\t00000007 aBcD");
  fuzz::WriteSeed(Folder, "bad_lines",
                  "Odd {C7F7C970-FCFF-455D-A884-F67C0E300856} 7 ABC\n"
                  "Short C7F7C970 7 00\n");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) { return fuzz::WriteSeedsWhenAsked(WriteSeeds); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  // A block of exactly the input's size, so a read past the end is caught.
  const std::vector<char> Text(Data, Data + Size);

  const Walk Full = ReadWith(Text, variablefile::VARIABLE_STORE_MAX_NAME + 1, variablefile::VARIABLE_STORE_MAX_DATA);
  CheckDescriptions(Full.Result);
  if (Full.Result.Error == variablefile::VariableStoreError::None) CheckRoundTrip(Full.Variables);

  // Small buffers: the same variables as far as the walk goes, and it can
  // only stop earlier, at a line too big for them, never go further.
  const Walk Small = ReadWith(Text, SMALL_NAME_UNITS, SMALL_DATA_BYTES);
  Check(Small.Variables.size() <= Full.Variables.size());
  for (size_t N = 0; N < Small.Variables.size(); ++N) Check(SameVariable(Small.Variables[N], Full.Variables[N]));
  if (Small.Result.Error == variablefile::VariableStoreError::None) {
    Check(Full.Result.Error == variablefile::VariableStoreError::None && Small.Variables.size() == Full.Variables.size());
  } else if (Small.Result.Error != Full.Result.Error || Small.Result.Line != Full.Result.Line) {
    Check(Small.Result.Error == variablefile::VariableStoreError::NameTooLong ||
          Small.Result.Error == variablefile::VariableStoreError::DataTooLong);
  }

  // Checking only (no visitor) reaches the same verdict on the same line.
  std::vector<CHAR16> Name(variablefile::VARIABLE_STORE_MAX_NAME + 1);
  std::vector<UINT8> Bytes(variablefile::VARIABLE_STORE_MAX_DATA);
  const variablefile::VariableStoreBuffers Buffers{Name.data(), Name.size(), Bytes.data(), Bytes.size()};
  const variablefile::VariableStoreResult Checked = variablefile::ReadVariableStore(Text.data(), Text.size(), Buffers,
                                                                          nullptr, nullptr);
  Check(Checked.Error == Full.Result.Error && Checked.Line == Full.Result.Line);
  return 0;
}

#include "platform/variable_store_text.h"

#include "variablefile/variable_reader.h"
#include "variablefile/variable_writer.h"

#include <stdexcept>

namespace platform {

namespace {

// Collects the reader's variables; they live only during the callback.
void KeepVariable(void *Context, const variablefile::StoreVariable &V) {
  auto &Out = *static_cast<std::vector<PlatformVariable> *>(Context);
  PlatformVariable Kept;
  Kept.Name.assign(reinterpret_cast<const char16_t *>(V.Name), V.NameLength);
  Kept.Guid = V.Guid;
  Kept.Attributes = V.Attributes;
  Kept.Data.assign(V.Data, V.Data + V.DataSize);
  Out.push_back(std::move(Kept));
}

bool AppendText(void *Context, const char *Text, size_t Length) {
  static_cast<std::string *>(Context)->append(Text, Length);
  return true;
}

}  // namespace

bool ParseVariableStore(const std::string &Text, std::vector<PlatformVariable> &Out, std::string &Error) {
  using namespace variablefile;
  Out.clear();
  std::vector<CHAR16> Name(VARIABLE_STORE_MAX_NAME + 1);
  std::vector<UINT8> Data(VARIABLE_STORE_MAX_DATA);
  const VariableStoreBuffers Buffers{Name.data(), Name.size(), Data.data(), Data.size()};
  const VariableStoreResult Result = ReadVariableStore(Text.data(), Text.size(), Buffers, KeepVariable, &Out);
  if (Result.Error == VariableStoreError::None) return true;
  char Reason[160];
  DescribeVariableStoreError(Result, Reason, sizeof Reason);
  Error = Reason;
  Out.clear();
  return false;
}

std::string FormatVariableStore(const std::vector<PlatformVariable> &Variables) {
  using namespace variablefile;
  std::string Text = VARIABLE_STORE_HEADER;
  for (const PlatformVariable &V : Variables) {
    const StoreVariable Line{reinterpret_cast<const CHAR16 *>(V.Name.data()), V.Name.size(), V.Guid, V.Attributes,
                             V.Data.data(), V.Data.size(), 0};
    if (WriteVariableLine(Line, AppendText, &Text) != VariableWriteError::None)
      throw std::invalid_argument("a variable the variable store text cannot hold");
  }
  return Text;
}

}  // namespace platform

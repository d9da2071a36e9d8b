// The variable store text writer (see variable_writer.h).
#include "variablefile/variable_writer.h"

namespace variablefile {

namespace {

constexpr char HEX[] = "0123456789ABCDEF";
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"
constexpr size_t GUID_TEXT_CHARS = 38;
// Characters of a line formatted before they go to the sink.
constexpr size_t PIECE_CHARS = 128;

size_t HexDigits(UINT32 Value) {
  size_t Count = 1;
  while (Value >>= 4) ++Count;
  return Count;
}

// Collects characters and hands them to the sink a piece at a time.
class LineWriter {
 public:
  LineWriter(TextSink Sink, void *Context) : Sink(Sink), Context(Context) {}

  void Put(char C) {
    if (Used == PIECE_CHARS) Flush();
    Piece[Used++] = C;
  }
  void Hex(UINT32 Value, size_t Digits) {
    while (Digits > 0) Put(HEX[(Value >> (4 * --Digits)) & 0xF]);
  }
  // The sink's verdict on everything put so far.
  bool Flush() {
    if (!Failed && Used > 0) Failed = !Sink(Context, Piece, Used);
    Used = 0;
    return !Failed;
  }

 private:
  TextSink Sink;
  void *Context;
  char Piece[PIECE_CHARS];
  size_t Used = 0;
  bool Failed = false;
};

void PutGuid(LineWriter &Out, const EFI_GUID &Guid) {
  Out.Put('{');
  Out.Hex(Guid.Data1, 8);
  Out.Put('-');
  Out.Hex(Guid.Data2, 4);
  Out.Put('-');
  Out.Hex(Guid.Data3, 4);
  Out.Put('-');
  for (size_t I = 0; I < 8; ++I) {
    if (I == 2) Out.Put('-');
    Out.Hex(Guid.Data4[I], 2);
  }
  Out.Put('}');
}

// Where AppendVariableLine copies to; the end is checked although the line
// was measured to fit.
struct BufferCursor {
  char *At;
  char *End;
};

bool CopyToBuffer(void *Context, const char *Text, size_t Length) {
  auto &Cursor = *static_cast<BufferCursor *>(Context);
  if (Length > static_cast<size_t>(Cursor.End - Cursor.At)) return false;
  for (size_t I = 0; I < Length; ++I) Cursor.At[I] = Text[I];
  Cursor.At += Length;
  return true;
}

}  // namespace

VariableWriteError CheckStoreVariable(const StoreVariable &Variable) {
  if (Variable.NameLength == 0 || Variable.Name == nullptr) return VariableWriteError::BadName;
  if (Variable.NameLength > VARIABLE_STORE_MAX_NAME) return VariableWriteError::NameTooLong;
  for (size_t I = 0; I < Variable.NameLength; ++I)
    if (Variable.Name[I] < 0x21 || Variable.Name[I] > 0x7E) return VariableWriteError::BadName;
  if (Variable.DataSize > VARIABLE_STORE_MAX_DATA) return VariableWriteError::DataTooLong;
  if (Variable.Data == nullptr && Variable.DataSize != 0) return VariableWriteError::MissingData;
  return VariableWriteError::None;
}

size_t VariableLineLength(const StoreVariable &Variable) {
  if (CheckStoreVariable(Variable) != VariableWriteError::None) return 0;
  const size_t Data = Variable.DataSize == 0 ? 1 : 2 * Variable.DataSize;
  return Variable.NameLength + 1 + GUID_TEXT_CHARS + 1 + 2 + HexDigits(Variable.Attributes) + 1 + Data + 1;
}

VariableWriteError WriteVariableLine(const StoreVariable &Variable, TextSink Sink, void *Context) {
  const VariableWriteError Error = CheckStoreVariable(Variable);
  if (Error != VariableWriteError::None) return Error;
  LineWriter Out(Sink, Context);
  for (size_t I = 0; I < Variable.NameLength; ++I) Out.Put(static_cast<char>(Variable.Name[I]));
  Out.Put(' ');
  PutGuid(Out, Variable.Guid);
  Out.Put(' ');
  Out.Put('0');
  Out.Put('x');
  Out.Hex(Variable.Attributes, HexDigits(Variable.Attributes));
  Out.Put(' ');
  if (Variable.DataSize == 0) Out.Put('-');
  for (size_t I = 0; I < Variable.DataSize; ++I) Out.Hex(Variable.Data[I], 2);
  Out.Put('\n');
  return Out.Flush() ? VariableWriteError::None : VariableWriteError::SinkFailed;
}

VariableWriteError AppendVariableLine(const StoreVariable &Variable, TextBuffer &Buffer) {
  const VariableWriteError Error = CheckStoreVariable(Variable);
  if (Error != VariableWriteError::None) return Error;
  const size_t Length = VariableLineLength(Variable);
  if (Buffer.Text == nullptr || Buffer.Used > Buffer.Size || Length > Buffer.Size - Buffer.Used)
    return VariableWriteError::BufferTooSmall;
  BufferCursor Cursor{Buffer.Text + Buffer.Used, Buffer.Text + Buffer.Used + Length};
  const VariableWriteError Written = WriteVariableLine(Variable, CopyToBuffer, &Cursor);
  if (Written == VariableWriteError::None) Buffer.Used = static_cast<size_t>(Cursor.At - Buffer.Text);
  return Written;
}

}  // namespace variablefile

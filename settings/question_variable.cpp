#include "settings/question_variable.h"

#include "forms/export_bytes.h"
#include "forms/variable_cache.h"
#include "messages/last_error_text.h"
#include "runtime/crt.h"
#include "settings/settings_engine.h"

namespace {

// A first read of this many bytes when the load recorded no size.
constexpr UINTN FIRST_READ_BYTES = 64;
constexpr UINT32 ACCESS_ATTRIBUTES = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

// The variable's name and GUID, copied out of the packed export so the
// firmware gets aligned, NUL-terminated arguments.
struct VariableKey {
  CHAR16 Name[VARIABLE_NAME_CHARS];
  EFI_GUID Guid;
};

[[nodiscard]] bool CopyKey(const SetupQuestion &Question, VariableKey &Key) {
  if (Question.VariableName == nullptr || Question.VariableGuid == nullptr) return false;
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Question.VariableName);
  for (UINT32 Index = 0; Index < VARIABLE_NAME_CHARS; ++Index) {
    Key.Name[Index] = Le16(Bytes + 2 * Index);
    if (Key.Name[Index] == 0) {
      crt::memcpy(&Key.Guid, Question.VariableGuid, sizeof(EFI_GUID));
      return true;
    }
  }
  return false;  // longer than firmware names can be
}

[[nodiscard]] EFI_STATUS ReadInto(const VariableServices &Source, VariableKey &Key, UINTN Capacity,
                                  VariableContents &Out) {
  Out.Data.Reset(static_cast<UINT8 *>(crt::malloc(Capacity)));
  if (!Out.Data) return BCFG_E_OUT_OF_MEMORY;
  Out.Size = Capacity;
  return Source.Get(Source.Context, Key.Name, &Key.Guid, &Out.Attributes, &Out.Size, Out.Data.Get());
}

[[nodiscard]] EFI_STATUS ReadVariable(const VariableServices &Source, VariableKey &Key, UINT32 RecordedSize,
                                      VariableContents &Out) {
  EFI_STATUS Status = ReadInto(Source, Key, RecordedSize != 0 ? RecordedSize : FIRST_READ_BYTES, Out);
  // Grown since the forms were loaded (or never measured): once more at
  // the size the firmware asks for.
  if (Status == EFI_BUFFER_TOO_SMALL && Out.Size != 0) Status = ReadInto(Source, Key, Out.Size, Out);
  if (Status != EFI_SUCCESS) Out.Data.Reset(nullptr);
  return Status;
}

UINT32 Mask(UINT16 Width) { return Width == 4 ? 0xFFFFFFFFu : (1u << (8 * Width)) - 1; }

UINT32 StoredField(const UINT8 *Field, UINT16 Width) {
  UINT32 Value = 0;
  for (UINT16 Byte = 0; Byte < Width; ++Byte) Value |= static_cast<UINT32>(Field[Byte]) << (8 * Byte);
  return Value;
}

void StoreField(UINT8 *Field, UINT16 Width, UINT32 Value) {
  for (UINT16 Byte = 0; Byte < Width; ++Byte) Field[Byte] = static_cast<UINT8>(Value >> (8 * Byte));
}

// Copies the key and reads the variable; a successful read refreshes the
// question's attributes.
[[nodiscard]] EFI_STATUS ReadWithKey(const VariableServices &Source, SetupQuestion &Question, VariableKey &Key,
                                     VariableContents &Out) {
  if (!CopyKey(Question, Key)) return EFI_INVALID_PARAMETER;
  const EFI_STATUS Status = ReadVariable(Source, Key, Question.VariableSize, Out);
  if (Status == EFI_SUCCESS) Question.VariableAttributes = Out.Attributes;
  return Status;
}

}  // namespace

EFI_STATUS ReadQuestionVariable(SetupQuestion &Question, VariableContents &Out) {
  return ReadQuestionVariable(*FirmwareVariables(), Question, Out);
}

EFI_STATUS ReadQuestionVariable(const VariableServices &Source, SetupQuestion &Question, VariableContents &Out) {
  VariableKey Key;
  return ReadWithKey(Source, Question, Key, Out);
}

EFI_STATUS WriteQuestionValue(SettingsEngine &Engine, SetupQuestion &Question, const BIOS_SETTING_VALUE &Value,
                              WriteOutcome &Outcome) {
  const VariableServices &Source = *Engine.Forms.VariableSource;
  VariableKey Key;
  VariableContents Contents;
  const EFI_STATUS Status = ReadWithKey(Source, Question, Key, Contents);
  if (Status != EFI_SUCCESS) return Status;

  const UINT16 Width = Question.Width;
  Outcome = WriteOutcome{};
  if (Width != 1 && Width != 2 && Width != 4) return EFI_SUCCESS;
  // The bytes must lie inside the variable as it is now, which may be
  // shorter than when the forms were read; the write-back keeps its size.
  if (static_cast<UINTN>(Question.Offset) + Width > Contents.Size) return EFI_BAD_BUFFER_SIZE;
  UINT8 *Field = Contents.Data.Get() + Question.Offset;
  const UINT32 Wanted = Value.Value & Mask(Width);
  Outcome.OldValue = StoredField(Field, Width);
  Outcome.Stored = Wanted;
  if (Outcome.OldValue == Wanted) return EFI_SUCCESS;
  // Attributes without access bits would turn the write into a delete.
  if ((Contents.Attributes & ACCESS_ATTRIBUTES) == 0) return EFI_WRITE_PROTECTED;

  StoreField(Field, Width, Wanted);
  const EFI_STATUS Written =
      Source.Set(Source.Context, Key.Name, &Key.Guid, Contents.Attributes, Contents.Size, Contents.Data.Get());
  Outcome.Changed = Written == EFI_SUCCESS;
  return Written;
}

EFI_STATUS WriteQuestionValue(SettingsEngine &Engine, SetupQuestion &Question, const BIOS_SETTING_VALUE &Value) {
  WriteOutcome Ignored;
  return WriteQuestionValue(Engine, Question, Value, Ignored);
}

EFI_STATUS StoreRecord(SettingsEngine &Engine, SetupQuestion &Question, BIOS_SETTING_VALUE &Value,
                       WriteOutcome &Outcome) {
  const EFI_STATUS Written = WriteQuestionValue(Engine, Question, Value, Outcome);
  if (Written == BCFG_E_OUT_OF_MEMORY) return Written;
  if (Written != EFI_SUCCESS) {
    (void)SetLastErrorText(W(u"\nError in setting BIOS Variable %ls\n"), Value.Name);
    return BCFG_E_VARIABLE_ACCESS;
  }
  Value.Status = BIOS_SETTING_APPLIED;
  return EFI_SUCCESS;
}

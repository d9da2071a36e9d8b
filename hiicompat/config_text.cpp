#include "hiicompat/config_text.h"

#include "runtime/crt.h"

namespace hiicompat {

namespace {

constexpr char HEX_DIGITS[] = "0123456789abcdef";
constexpr UINTN FIRST_CAPACITY = 128;
constexpr UINT32 MAX_BRIDGED_NAME_UNITS = 256;

int HexValue(CHAR16 Unit) {
  if (Unit >= '0' && Unit <= '9') return Unit - '0';
  if (Unit >= 'a' && Unit <= 'f') return Unit - 'a' + 10;
  if (Unit >= 'A' && Unit <= 'F') return Unit - 'A' + 10;
  return -1;
}

// One "KEY=value" field of the answer: [Start, End) of its value.
struct Field {
  const CHAR16 *Key;
  UINTN KeyLength;
  const CHAR16 *Value;
  UINTN ValueLength;
};

bool KeyIs(const Field &F, const char *Key) {
  UINTN Index = 0;
  for (; Key[Index] != 0; ++Index) {
    if (Index >= F.KeyLength || F.Key[Index] != static_cast<CHAR16>(Key[Index])) return false;
  }
  return Index == F.KeyLength;
}

// Splits the next field off Cursor (which points at a field's first unit);
// Cursor moves past the field and its '&'. False at the text's end.
bool NextField(const CHAR16 *&Cursor, Field &Out) {
  if (*Cursor == 0) return false;
  Out.Key = Cursor;
  while (*Cursor != 0 && *Cursor != '=' && *Cursor != '&') ++Cursor;
  Out.KeyLength = static_cast<UINTN>(Cursor - Out.Key);
  Out.Value = Cursor;
  Out.ValueLength = 0;
  if (*Cursor == '=') {
    Out.Value = ++Cursor;
    while (*Cursor != 0 && *Cursor != '&') ++Cursor;
    Out.ValueLength = static_cast<UINTN>(Cursor - Out.Value);
  }
  if (*Cursor == '&') ++Cursor;
  return true;
}

bool ParseNumber(const Field &F, UINT64 &Out) {
  if (F.ValueLength == 0 || F.ValueLength > 16) return false;
  Out = 0;
  for (UINTN Index = 0; Index < F.ValueLength; ++Index) {
    const int Digit = HexValue(F.Value[Index]);
    if (Digit < 0) return false;
    Out = (Out << 4) | static_cast<UINT64>(Digit);
  }
  return true;
}

// Whether the field's hex text spells Bytes, case aside.
bool SpellsBytes(const Field &F, const UINT8 *Bytes, UINTN Count) {
  if (F.ValueLength != 2 * Count) return false;
  for (UINTN Index = 0; Index < Count; ++Index) {
    if (HexValue(F.Value[2 * Index]) != (Bytes[Index] >> 4) || HexValue(F.Value[2 * Index + 1]) != (Bytes[Index] & 0xF))
      return false;
  }
  return true;
}

bool SpellsName(const Field &F, const CHAR16 *Name, UINT32 Length) {
  if (F.ValueLength != 4 * static_cast<UINTN>(Length)) return false;
  for (UINT32 Unit = 0; Unit < Length; ++Unit) {
    UINT32 Value = 0;
    for (UINTN Digit = 0; Digit < 4; ++Digit) {
      const int D = HexValue(F.Value[4 * Unit + Digit]);
      if (D < 0) return false;
      Value = (Value << 4) | static_cast<UINT32>(D);
    }
    if (Value != Name[Unit]) return false;
  }
  return true;
}

// Writes the VALUE text (last byte first) of an element into Block.
bool StoreValue(const Field &F, UINT64 Offset, UINT64 Width, UINT8 *Block, UINT32 Size) {
  if (Width == 0 || Offset > Size || Width > Size - Offset || F.ValueLength != 2 * Width) return false;
  for (UINT64 Index = 0; Index < Width; ++Index) {
    const int High = HexValue(F.Value[2 * Index]);
    const int Low = HexValue(F.Value[2 * Index + 1]);
    if (High < 0 || Low < 0) return false;
    Block[Offset + Width - 1 - Index] = static_cast<UINT8>((High << 4) | Low);
  }
  return true;
}

bool Terminated(const CHAR16 *Text) {
  for (UINTN Index = 0; Index < MAX_ANSWER_UNITS; ++Index)
    if (Text[Index] == 0) return true;
  return false;
}

// Decodes a NAME field's hex into units.
bool DecodeName(const Field &F, CHAR16 *Out, UINT32 Capacity, UINT32 &Length) {
  if (F.ValueLength % 4 != 0 || F.ValueLength / 4 > Capacity) return false;
  Length = static_cast<UINT32>(F.ValueLength / 4);
  for (UINT32 Unit = 0; Unit < Length; ++Unit) {
    UINT32 Value = 0;
    for (UINTN Digit = 0; Digit < 4; ++Digit) {
      const int D = HexValue(F.Value[4 * Unit + Digit]);
      if (D < 0) return false;
      Value = (Value << 4) | static_cast<UINT32>(D);
    }
    Out[Unit] = static_cast<CHAR16>(Value);
  }
  return true;
}

}  // namespace

ConfigText::~ConfigText() { crt::free(Units); }

bool ConfigText::Reserve(UINTN More) {
  if (Failed) return false;
  if (Used + More + 1 <= Capacity) return true;
  UINTN Wanted = Capacity == 0 ? FIRST_CAPACITY : Capacity * 2;
  while (Wanted < Used + More + 1) Wanted *= 2;
  auto *Grown = static_cast<CHAR16 *>(crt::realloc(Units, Wanted * sizeof(CHAR16)));
  if (Grown == nullptr) {
    Failed = true;
    return false;
  }
  Units = Grown;
  Capacity = Wanted;
  return true;
}

void ConfigText::AppendUnit(CHAR16 Unit) {
  if (!Reserve(1)) return;
  Units[Used++] = Unit;
  Units[Used] = 0;
}

void ConfigText::Append(const char *Ascii) {
  for (; *Ascii != 0; ++Ascii) AppendUnit(static_cast<CHAR16>(*Ascii));
}

void ConfigText::AppendHexByte(UINT8 Byte) {
  AppendUnit(static_cast<CHAR16>(HEX_DIGITS[Byte >> 4]));
  AppendUnit(static_cast<CHAR16>(HEX_DIGITS[Byte & 0xF]));
}

void ConfigText::AppendHexNumber(UINT64 Value) {
  int Shift = 60;
  while (Shift > 0 && ((Value >> Shift) & 0xF) == 0) Shift -= 4;
  for (; Shift >= 0; Shift -= 4) AppendUnit(static_cast<CHAR16>(HEX_DIGITS[(Value >> Shift) & 0xF]));
}

void AppendConfigHeader(ConfigText &Out, const StoreAddress &Store) {
  Out.Append("GUID=");
  const auto *Guid = reinterpret_cast<const UINT8 *>(&Store.Guid);
  for (UINTN Index = 0; Index < sizeof(EFI_GUID); ++Index) Out.AppendHexByte(Guid[Index]);
  Out.Append("&NAME=");
  for (UINT32 Unit = 0; Unit < Store.NameLength; ++Unit) {
    Out.AppendHexByte(static_cast<UINT8>(Store.Name[Unit] >> 8));
    Out.AppendHexByte(static_cast<UINT8>(Store.Name[Unit]));
  }
  Out.Append("&PATH=");
  for (UINT32 Index = 0; Index < Store.DevicePathLength; ++Index) Out.AppendHexByte(Store.DevicePath[Index]);
}

void AppendValueElement(ConfigText &Out, UINT32 Offset, UINT32 Width, const UINT8 *Bytes) {
  Out.Append("&OFFSET=");
  Out.AppendHexNumber(Offset);
  Out.Append("&WIDTH=");
  Out.AppendHexNumber(Width);
  Out.Append("&VALUE=");
  for (UINT32 Index = Width; Index > 0; --Index) Out.AppendHexByte(Bytes[Offset + Index - 1]);
}

bool NameForGuid(const CHAR16 *Answer, const EFI_GUID &Guid, CHAR16 *Out, UINT32 Capacity, UINT32 &Length) {
  if (Answer == nullptr || !Terminated(Answer)) return false;
  const CHAR16 *Cursor = Answer;
  Field F{};
  bool Found = false;
  bool Wanted = false;  // the last GUID field was Guid
  CHAR16 Name[MAX_BRIDGED_NAME_UNITS];
  while (NextField(Cursor, F)) {
    if (KeyIs(F, "GUID")) {
      Wanted = SpellsBytes(F, reinterpret_cast<const UINT8 *>(&Guid), sizeof(EFI_GUID));
      continue;
    }
    if (!Wanted || !KeyIs(F, "NAME")) continue;
    Wanted = false;
    UINT32 Units = 0;
    if (!DecodeName(F, Name, MAX_BRIDGED_NAME_UNITS, Units) || Units > Capacity) return false;
    if (Found && (Units != Length || crt::memcmp(Name, Out, Units * sizeof(CHAR16)) != 0)) return false;
    crt::memcpy(Out, Name, Units * sizeof(CHAR16));
    Length = Units;
    Found = true;
  }
  return Found;
}

EFI_STATUS ReadConfigAnswer(const CHAR16 *Answer, const StoreAddress &Store, UINT8 *Block, UINT32 Size) {
  if (Answer == nullptr || !Terminated(Answer)) return EFI_DEVICE_ERROR;
  const CHAR16 *Cursor = Answer;
  Field F{};
  // The header: this store's GUID and name, and a path (not compared:
  // routing found the store by it).
  if (!NextField(Cursor, F) || !KeyIs(F, "GUID") ||
      !SpellsBytes(F, reinterpret_cast<const UINT8 *>(&Store.Guid), sizeof(EFI_GUID)))
    return EFI_DEVICE_ERROR;
  if (!NextField(Cursor, F) || !KeyIs(F, "NAME") || !SpellsName(F, Store.Name, Store.NameLength))
    return EFI_DEVICE_ERROR;
  if (!NextField(Cursor, F) || !KeyIs(F, "PATH")) return EFI_DEVICE_ERROR;

  while (NextField(Cursor, F)) {
    if (KeyIs(F, "GUID")) return EFI_SUCCESS;  // the next block: defaults or another store
    UINT64 Offset = 0;
    UINT64 Width = 0;
    if (!KeyIs(F, "OFFSET") || !ParseNumber(F, Offset)) return EFI_DEVICE_ERROR;
    if (!NextField(Cursor, F) || !KeyIs(F, "WIDTH") || !ParseNumber(F, Width)) return EFI_DEVICE_ERROR;
    if (!NextField(Cursor, F) || !KeyIs(F, "VALUE") || !StoreValue(F, Offset, Width, Block, Size))
      return EFI_DEVICE_ERROR;
  }
  return EFI_SUCCESS;
}

}  // namespace hiicompat

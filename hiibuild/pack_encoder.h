// The packs of a data table: string packs (one language, strings by
// token), variable packs and the IFR pack around a run of opcodes.
//
// Each call appends one whole pack to Out or, on failure, leaves Out as it
// was. Pack lengths are 32-bit: TooLong when a pack would not fit.
#pragma once

#include "hiibuild/byte_buffer.h"
#include "hiibuild/framework_hii.h"

namespace hiibuild {

// One language's string pack. Strings[t] is the text of token t; a text
// whose Units is nullptr is absent from this language, and its pointer is
// then STRING_ABSENT, beyond any pack (an empty text has Length 0 and
// Units set).
struct StringPackParts {
  WideText Language;       // "eng"
  WideText PrintableName;  // "English"
  const WideText *Strings;
  size_t TokenCount;
};

constexpr UINT32 STRING_ABSENT = 0xFFFFFFFFu;

// Layout: the 22-byte header, one pointer per token, the language name,
// the printable name, then the texts in token order, each with its NUL.
// Every pointer is an offset from the pack's start. Success, TooLong,
// OutOfMemory, or InvalidArgument for a missing name or string array.
[[nodiscard]] BuildStatus WriteStringPack(ByteBuffer &Out, const StringPackParts &Pack);

// Variable pack (type 6): GUID at 6, name length in bytes (NUL included)
// at 22, varstore id at 26, the NUL-terminated name at 28.
[[nodiscard]] BuildStatus WriteVariablePack(ByteBuffer &Out, const EFI_GUID &Guid, UINT16 VarStoreId,
                                            WideText Name);

// IFR pack (type 3): the pack header, then the opcodes as given.
[[nodiscard]] BuildStatus WriteIfrPack(ByteBuffer &Out, ByteSpan Code);

}  // namespace hiibuild

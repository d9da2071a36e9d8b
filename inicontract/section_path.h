// INI section names for setup forms.
//
// A form's section is "BIOS" followed by the titles of the forms above it
// and its own, joined by "::" and in capitals. The forms carry no links the
// driver reads; their nesting follows from their identifiers, which setup
// numbers by tens: form 10 * P + k (k from 0 to 9) is a sub-form of form P.
// The export and the import derive every section with the same steps, so a
// saved file is read back under the names it was written with, and tools
// that read saved files name them alike.
#pragma once

#include "runtime/uefi.h"

namespace inicontract {

// Section buffers hold this many bytes: 149 characters and the NUL.
constexpr UINT32 SECTION_PATH_BYTES = 150;

// The section that Title opens after the section SectionPath (identifier
// PreviousId) when its identifier is NewId, written into Result (which the
// caller has zero-filled; SECTION_PATH_BYTES bytes). Case is kept; a name
// longer than 149 characters is cut there.
void BuildSectionPath(const char *SectionPath, UINT32 PreviousId, const char *Title, UINT32 NewId,
                      char *Result);

// The section a question whose prompt names a serial port opens (the
// serial-port form repeats "Address" and "IRQ" once per port, and a key must
// be unique within its section): the first such question of a run opens a
// child of the current section, every later one a sibling, even under
// another form. Updates PreviousFormId (kept to 16 bits) and Count, and
// writes the new name, not yet in capitals, into Result (zero-filled by
// the caller).
void BuildSerialSectionPath(const char *SectionPath, UINT16 *PreviousFormId, UINT16 *Count, const char *Title,
                            char *Result);

// Turns a-z into A-Z in place; every other byte, from 0x80 up included,
// stays. Returns Text.
char *UppercaseAscii(char *Text);

// Whether a form of this title (8-bit, compared whole, ASCII case ignored)
// has its questions saved.
[[nodiscard]] bool IsExportedFormTitle(const char *Title);

// The first Length units of a wide text at any alignment, each reduced to
// its low 8 bits, NUL-terminated, cut to fit Size bytes. Leading blanks
// (U+0020 only) are left out when SkipLeadingBlanks: a question's key is its
// prompt so reduced, while a form's title keeps its blanks.
void NarrowPrompt(const CHAR16 *Text, UINT32 Length, bool SkipLeadingBlanks, char *Out, UINT32 Size);

}  // namespace inicontract

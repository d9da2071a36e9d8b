// WriteBiosSection: saving the visible setup questions as INI text.
//
// The file is opened for appending, so what it held stays in front and
// every save adds a whole block. Each saved form opens a section; each
// visible question writes "PROMPT=VALUE", padded to 54 characters, and
// its options as a comment; a question whose prompt names a serial port
// opens a section of its own (see BuildSerialSectionPath).
#include "bioscfg_protocol.h"
#include "forms/option_cursor.h"
#include "ini/bios_block.h"
#include "ini/ini_access.h"
#include "inicontract/ini_file_path.h"
#include "inicontract/section_path.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/eligibility.h"
#include "settings/settings_engine.h"

using inicontract::BuildSectionPath;
using inicontract::BuildSerialSectionPath;
using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::IsExportedFormTitle;
using inicontract::JoinIniFilePath;
using inicontract::NarrowPrompt;
using inicontract::SECTION_PATH_BYTES;
using inicontract::UppercaseAscii;

namespace {

// The 8-bit copy of a prompt: up to 65535 characters, the '=' and a value.
constexpr UINT32 PROMPT_BYTES = 0x10000 + 50;

struct ExportRun {
  crt::FILE *File;
  char *Prompt;  // the 8-bit copy of the record at hand
  char SectionPath[SECTION_PATH_BYTES];
  UINT16 PreviousFormId;
  UINT16 SerialQuestionCount;
  bool SkipForm;

  // Makes Section (zero-filled, filled by BuildSectionPath) the current one.
  void OpenSection(char *Section) {
    UppercaseAscii(Section);
    (void)crt::fprintf(File, "\n[%s]\n", Section);
    crt::memcpy(SectionPath, Section, SECTION_PATH_BYTES);
  }
};

// The low bytes of a wide text at any alignment, written in small runs.
void WriteLowBytes(crt::FILE *File, const CHAR16 *Text, UINT32 Length) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Text);
  char Run[128];
  UINT32 Used = 0;
  for (UINT32 Unit = 0; Unit < Length; ++Unit) {
    Run[Used++] = static_cast<char>(Bytes[2 * static_cast<UINTN>(Unit)]);
    if (Used == sizeof(Run)) {
      (void)crt::fwrite(Run, 1, Used, File);
      Used = 0;
    }
  }
  if (Used != 0) (void)crt::fwrite(Run, 1, Used, File);
}

void WriteQuestionLine(ExportRun &Run, const SetupQuestion &Question) {
  crt::FILE *File = Run.File;
  // The value goes behind the prompt in the same buffer, which keeps room
  // for it, so that key and value pad to 54 columns together.
  const UINTN Length = crt::strlen(Run.Prompt);
  (void)crt::snprintf(Run.Prompt + Length, PROMPT_BYTES - Length, "=%d", static_cast<INT32>(Question.Value));
  (void)crt::fprintf(File, "%-54s;Options", Run.Prompt);
  OptionCursor Cursor(Question);
  OptionView Option{};
  bool Any = false;
  while (Cursor.Next(Option)) {
    Any = true;
    (void)crt::fprintf(File, Option.TextLength == 0 ? ": %d" : ": %d=", static_cast<INT32>(Option.Value));
    WriteLowBytes(File, Option.Text, Option.TextLength);
  }
  (void)crt::fprintf(File, Any ? "\n" : ": N/A\n");
}

void ExportForm(ExportRun &Run, const SetupQuestion &Form) {
  Run.SkipForm = !IsExportedFormTitle(Run.Prompt);
  if (Run.SkipForm) return;
  char Section[SECTION_PATH_BYTES] = {};
  BuildSectionPath(Run.SectionPath, Run.PreviousFormId, Run.Prompt, Form.FormId, Section);
  Run.OpenSection(Section);
  Run.PreviousFormId = Form.FormId;
}

void ExportQuestion(ExportRun &Run, const SetupQuestion &Question) {
  if (Run.SkipForm) return;
  if (crt::strstr(Run.SectionPath, "SERIAL") != nullptr && crt::strstr(Run.Prompt, "Serial") != nullptr) {
    char Section[SECTION_PATH_BYTES] = {};
    BuildSerialSectionPath(Run.SectionPath, &Run.PreviousFormId, &Run.SerialQuestionCount, Run.Prompt, Section);
    Run.OpenSection(Section);
  }
  if (crt::strstr(Run.Prompt, "Hidden") != nullptr || crt::strstr(Run.Prompt, "N/A") != nullptr) return;
  WriteQuestionLine(Run, Question);
}

}  // namespace

EFI_STATUS WriteBiosSection(SettingsEngine &Engine, const char *IniFileName) {
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!JoinIniFilePath(crt::getenv("TORVEL_PATH"), IniFileName, Path)) return BCFG_E_INVALID_PARAMETER;
  // One prompt buffer for the whole run, had before the file is touched.
  crt::HeapPtr<char> Prompt(static_cast<char *>(crt::malloc(PROMPT_BYTES)));
  if (!Prompt) return BCFG_E_INVALID_PARAMETER;
  crt::OpenStream File(crt::fopen(Path, "a"));
  if (File.Get() == nullptr) return BCFG_E_INVALID_PARAMETER;

  ExportRun Run{File.Get(), Prompt.Get(), "BIOS", 0, 0, false};
  (void)crt::fprintf(Run.File, "\n[BIOS]\n");
  for (const SetupQuestion *Q = Engine.Forms.Questions; Q != nullptr; Q = Q->Next) {
    if (!InBiosBlock(*Q)) continue;
    NarrowPrompt(Q->PromptText, Q->PromptLength, false, Run.Prompt, PROMPT_BYTES);
    if (Q->OpCode == IFR_FORM_OP) {
      ExportForm(Run, *Q);
    } else if (IsValueQuestion(*Q)) {
      ExportQuestion(Run, *Q);
    }
  }
  return EFI_SUCCESS;
}

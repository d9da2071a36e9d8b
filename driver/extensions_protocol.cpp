// The operations of BIOS_CONFIG_EXTENSIONS_PROTOCOL.
#include "driver/extensions_protocol.h"

#include "driver/change_runs.h"
#include "driver/question_enumeration.h"
#include "driver/session.h"
#include "messages/last_error_text.h"
#include "runtime/crt.h"
#include "runtime/owned.h"
#include "settings/settings_engine.h"

constinit EFI_GUID gBiosConfigExtensionsProtocolGuid = BIOS_CONFIG_EXTENSIONS_PROTOCOL_GUID;

namespace {

constexpr UINT32 KNOWN_RUN_FLAGS = BIOS_CONFIG_RUN_PLAN;

// Session check and a usable Run. EFI_SUCCESS or the status to return.
[[nodiscard]] EFI_STATUS CheckRun(const BIOS_CONFIG_RUN *Run) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  if (Run == nullptr || (Run->Flags & ~KNOWN_RUN_FLAGS) != 0) return BCFG_E_INVALID_PARAMETER;
  return EFI_SUCCESS;
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session); BCFG_E_INVALID_PARAMETER
// (a mode this driver does not know).
EFI_STATUS EFIAPI SetWriteMode(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, UINT8 Mode) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  if (Mode != BIOS_CONFIG_WRITES_PER_QUESTION && Mode != BIOS_CONFIG_WRITES_COMBINED) return BCFG_E_INVALID_PARAMETER;
  SessionEngine()->CombinedWrites = Mode == BIOS_CONFIG_WRITES_COMBINED ? 1 : 0;
  return EFI_SUCCESS;
}

// SetSettings, SetFormSettings and LoadSettingsFromIni as Run says: their
// own statuses, BCFG_E_INVALID_PARAMETER for a NULL Run or unknown flags,
// BCFG_E_OUT_OF_MEMORY when a plan's engine can't be had.
EFI_STATUS EFIAPI RunSetSettings(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, BIOS_SETTING_VALUE *Values,
                                 const BIOS_CONFIG_RUN *Run) {
  const EFI_STATUS Status = CheckRun(Run);
  if (Status != EFI_SUCCESS) return Status;
  return RunChange(*SessionEngine(), SetSettingsRun(Values, Run));
}

EFI_STATUS EFIAPI RunSetFormSettings(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, BIOS_SETTING_VALUE *Values,
                                     const BIOS_CONFIG_RUN *Run) {
  const EFI_STATUS Status = CheckRun(Run);
  if (Status != EFI_SUCCESS) return Status;
  return RunChange(*SessionEngine(), SetFormSettingsRun(Values, Run));
}

EFI_STATUS EFIAPI RunLoadSettingsFromIni(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, CHAR8 *IniFileName,
                                         const BIOS_CONFIG_RUN *Run) {
  const EFI_STATUS Status = CheckRun(Run);
  if (Status != EFI_SUCCESS) return Status;
  if (IniFileName == nullptr) {
    (void)SetLastErrorText(W(u"INI filename NULL before loading HII variables\n"));
    return BCFG_E_GENERAL_FAILURE;
  }
  return RunChange(*SessionEngine(), LoadSettingsFromIniRun(reinterpret_cast<const char *>(IniFileName), Run));
}

bool SameVariable(const SetupQuestion &A, const SetupQuestion &B) {
  if (A.VariableName == B.VariableName && A.VariableGuid == B.VariableGuid) return true;
  if (crt::memcmp(A.VariableGuid, B.VariableGuid, sizeof(EFI_GUID)) != 0) return false;
  const auto *X = reinterpret_cast<const UINT8 *>(A.VariableName);
  const auto *Y = reinterpret_cast<const UINT8 *>(B.VariableName);
  for (UINTN Byte = 0;; Byte += 2) {
    if (X[Byte] != Y[Byte] || X[Byte + 1] != Y[Byte + 1]) return false;
    if (X[Byte] == 0 && X[Byte + 1] == 0) return true;
  }
}

bool Named(const SetupQuestion &Q) {
  return Q.OpCode != IFR_FORM_OP && Q.VariableName != nullptr && Q.VariableGuid != nullptr;
}

// The first question naming each distinct variable, in list order.
class SeenVariables {
 public:
  SeenVariables() = default;
  ~SeenVariables() { crt::free(Firsts); }
  SeenVariables(const SeenVariables &) = delete;
  SeenVariables &operator=(const SeenVariables &) = delete;

  bool Contains(const SetupQuestion &Question) const {
    for (UINTN Index = Count; Index-- > 0;) {
      if (SameVariable(*Firsts[Index], Question)) return true;
    }
    return false;
  }
  [[nodiscard]] bool Add(const SetupQuestion &Question) {
    if (Count == Capacity) {
      const UINTN Grown = Capacity == 0 ? 8 : 2 * Capacity;
      auto *Larger = static_cast<const SetupQuestion **>(crt::realloc(Firsts, Grown * sizeof(*Firsts)));
      if (Larger == nullptr) return false;
      Firsts = Larger;
      Capacity = Grown;
    }
    Firsts[Count++] = &Question;
    return true;
  }

 private:
  const SetupQuestion **Firsts = nullptr;
  UINTN Count = 0;
  UINTN Capacity = 0;
};

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session); BCFG_E_INVALID_PARAMETER
// (NULL Visit); BCFG_E_VARIABLE_ACCESS (the forms); BCFG_E_OUT_OF_MEMORY.
EFI_STATUS EFIAPI EnumerateVariables(BIOS_CONFIG_EXTENSIONS_PROTOCOL *, BIOS_CONFIG_VARIABLE_CALLBACK Visit,
                                     VOID *Context) {
  SettingsEngine *Session = nullptr;
  const EFI_STATUS Status = SessionFormsForVisitor(Visit != nullptr, &Session);
  if (Status != EFI_SUCCESS) return Status;
  SettingsEngine &Engine = *Session;

  // Most questions name the variable of the question before them; the list
  // of those seen is searched only when it changes, and forms name few.
  SeenVariables Seen;
  const SetupQuestion *Previous = nullptr;
  for (const SetupQuestion *Q = Engine.Forms.Questions; Q != nullptr; Q = Q->Next) {
    if (!Named(*Q)) continue;
    const bool Known = (Previous != nullptr && SameVariable(*Previous, *Q)) || Seen.Contains(*Q);
    Previous = Q;
    if (Known) continue;
    if (!Seen.Add(*Q)) return BCFG_E_OUT_OF_MEMORY;
    UINTN Units = 0;
    const auto *Bytes = reinterpret_cast<const UINT8 *>(Q->VariableName);
    while (Bytes[2 * Units] != 0 || Bytes[2 * Units + 1] != 0) ++Units;
    crt::HeapPtr<CHAR16> Name(static_cast<CHAR16 *>(crt::malloc((Units + 1) * sizeof(CHAR16))));
    if (!Name) return BCFG_E_OUT_OF_MEMORY;
    crt::memcpy(Name.Get(), Q->VariableName, (Units + 1) * sizeof(CHAR16));
    EFI_GUID Guid;
    crt::memcpy(&Guid, Q->VariableGuid, sizeof Guid);
    Visit(Context, Name.Get(), &Guid);
  }
  return EFI_SUCCESS;
}

}  // namespace

constinit BIOS_CONFIG_EXTENSIONS_PROTOCOL BiosConfigExtensionsInterface = {
    BIOS_CONFIG_EXTENSIONS_REVISION, SetWriteMode, RunSetSettings, RunSetFormSettings, RunLoadSettingsFromIni,
    EnumerateVariables, ::EnumerateQuestions,
};

// Processor Configuration, Memory Configuration and Memory RAS.
#include "platform/setup_form_writer.h"

namespace platform {

using hiibuild::Text;

static void WriteProcessorForm(SetupFormWriter &W) {
  hiibuild::IfrBuilder &Ifr = W.Code();
  W.Form(21, Text(u"Processor Configuration", {{"fra", u"Configuration du processeur"}}));
  Ifr.Subtitle(u"Processor Configuration").TextItem(u"Processor ID", u"00050657");
  W.EnabledDisabled(u"Vexon(R) Hyper-Threading Technology", true);
  W.OneOf(u"Active Processor Cores",
          {{u"All", 0}, {u"1", 1}, {u"2", 2}, {u"4", 4}, {u"8", 8}, {u"12", 12}, {u"16", 16}}, 0);
  W.EnabledDisabled(u"Execute Disable Bit", true);
  QuestionRef Virtualization = W.EnabledDisabled(u"Vexon(R) Virtualization Technology", true);

  // Remapping reshapes the form: its dependants appear only once it is on.
  QuestionRef Remapping = W.EnabledDisabled(u"Vexon(R) DR for Remapped I/O", false);
  for (const char16_t *Dependant : {u"Interrupt Remapping", u"Coherency Support", u"ATS Support",
                                    u"Pass-through DMA"}) {
    W.SuppressIfEqual(Remapping, 0);
    W.EnabledDisabled(Dependant, true);
    W.EndIf();
  }
  // Trusted execution needs virtualization: gray it out unless VT is on.
  Ifr.GrayOutIf();
  W.EqualTo(Virtualization, 1);
  Ifr.Not();
  W.EnabledDisabled(u"Vexon(R) TXT Support", false);
  Ifr.EndIf();

  W.EnabledDisabled(u"Hardware Prefetcher", true);
  W.EnabledDisabled(u"Adjacent Cache Line Prefetch", true);
  W.EnabledDisabled(u"DCU Streamer Prefetcher", true);
  W.EnabledDisabled(u"DCU IP Prefetcher", true);
  W.EnabledDisabled(u"LLC Prefetch", false);
  QuestionRef SpeedStep = W.EnabledDisabled(u"Enhanced Vexon SpeedStep(R) Tech", true);
  W.GrayOutIfEqual(SpeedStep, 0);
  W.EnabledDisabled(u"Turbo Mode", true);
  W.EndIf();
  W.OneOf(u"Energy Performance Bias",
          {{u"Performance", 0}, {u"Balanced Performance", 7}, {u"Balanced Power", 8}, {u"Power", 15}}, 7);
  W.OneOf(u"CPU C6 Report", {{u"Disabled", 0}, {u"Enabled", 1}, {u"Auto", 255}}, 255);
  W.OneOf(u"Package C State",
          {{u"C0/C1 state", 0}, {u"C2 state", 1}, {u"C6(non Retention) state", 2},
           {u"C6(Retention) state", 3}, {u"No Limit", 7}},
          0);
  W.EnabledDisabled(u"Uncore Frequency Scaling", true);
  W.CheckBox(u"Max CPUID Value Limit", false);
  W.Numeric(u"Processor Core Ratio Limit", 1, {.Minimum = 0, .Maximum = 255, .Step = 0, .Default = 0});
  W.EnabledDisabled(u"Machine Check Error Logging", true);
  W.EndForm();
}

static void WriteMemoryForm(SetupFormWriter &W, SetupVariables &V, QuestionRef &MemoryMode) {
  hiibuild::IfrBuilder &Ifr = W.Code();
  W.Form(22, Text(u"Memory Configuration", {{"fra", u"Configuration de la memoire"}}));
  W.Use(V.Memory);
  Ifr.Subtitle(u"Memory Configuration").TextItem(u"Total Memory", u"196608 MB").TextItem(u"Effective Memory", u"196608 MB");
  W.OneOf(u"Memory Frequency",
          {{u"Auto", 0}, {u"2133", 1}, {u"2400", 2}, {u"2666", 3}, {u"2933", 4}, {u"3200", 5}}, 0);
  MemoryMode = W.OneOf(u"Memory Mode", {{u"Independent", 0}, {u"Mirror", 1}, {u"Lockstep", 2}}, 0);
  W.EnabledDisabled(u"NUMA Optimized", true);
  W.OneOf(u"Memory Interleaving", {{u"Auto", 0}, {u"1-way", 1}, {u"2-way", 2}, {u"4-way", 4}}, 0);
  QuestionRef PatrolScrub = W.EnabledDisabled(u"Patrol Scrub", true);
  W.SuppressIfEqual(PatrolScrub, 0);
  W.Numeric(u"Patrol Scrub Interval", 1, {.Minimum = 1, .Maximum = 24, .Step = 1, .Default = 24});
  W.EndIf();
  W.EnabledDisabled(u"Demand Scrub", true);
  W.EnabledDisabled(u"Data Scrambling", true);
  W.OneOf(u"Memory Refresh Rate", {{u"1x Refresh", 0}, {u"2x Refresh", 1}}, 0);
  W.OneOf(u"Page Policy", {{u"Closed", 0}, {u"Adaptive", 1}}, 1);
  W.EnabledDisabled(u"MRC Fast Boot", true);
  W.OneOf(u"Memory Power Savings Mode", {{u"Disabled", 0}, {u"Auto", 1}, {u"Performance", 2}}, 1);
  W.Numeric(u"DRAM RAPL Power Limit", 2, {.Minimum = 0, .Maximum = 1000, .Step = 0, .Default = 0});
  W.OneOf(u"Memory Thermal Throttling Mode", {{u"Disabled", 0}, {u"CLTT", 1}, {u"OLTT", 2}}, 1);
  Ifr.Ref(221, u"Memory RAS and Performance Configuration");
  W.Use(V.Setup);
  W.EndForm();
}

static void WriteMemoryRasForm(SetupFormWriter &W, SetupVariables &V, const QuestionRef &MemoryMode) {
  hiibuild::IfrBuilder &Ifr = W.Code();
  W.Form(221, Text(u"Memory RAS and Performance Configuration",
                   {{"fra", u"Fiabilite et performances de la memoire"}}));
  W.Use(V.Memory);
  W.Numeric(u"Correctable Error Threshold", 2, {.Minimum = 1, .Maximum = 32767, .Step = 0, .Default = 10});
  W.Numeric(u"Leaky Bucket Time Window", 1, {.Minimum = 0, .Maximum = 24, .Step = 1, .Default = 0});
  QuestionRef Adddc = W.EnabledDisabled(u"ADDDC Sparing", false);
  W.EnabledDisabled(u"SDDC Plus One", false);
  QuestionRef RankSparing = W.EnabledDisabled(u"Rank Sparing", false);
  W.SuppressIfEqual(RankSparing, 0);
  W.Numeric(u"Multi-Rank Sparing Count", 1, {.Minimum = 1, .Maximum = 2, .Step = 1, .Default = 2});
  W.EndIf();
  // Partial mirroring conflicts with full mirroring and with ADDDC.
  Ifr.GrayOutIf();
  W.EqualTo(MemoryMode, 1);
  W.EqualTo(Adddc, 1);
  Ifr.Or();
  W.EnabledDisabled(u"Partial Mirror Mode", false);
  Ifr.EndIf();
  W.Numeric(u"Partial Mirror Size (GB)", 2, {.Minimum = 0, .Maximum = 512, .Step = 64, .Default = 0});
  Ifr.InconsistentIf(u"Mirror size exceeds installed memory");
  W.EqualTo(MemoryMode, 2);
  Ifr.EndIf();
  // Error injection is for validation only: hidden unless its unlock byte
  // says otherwise.
  QuestionRef InjectionLocked = W.StateByte(1);
  Ifr.Hidden();
  W.EqualTo(InjectionLocked, 1);
  W.EnabledDisabled(u"Memory Error Injection", false);
  Ifr.EndIf();
  W.EnabledDisabled(u"Enhanced ECC Mode", true);
  W.OneOf(u"Correctable Error Logging", {{u"Disabled", 0}, {u"Enabled", 1}, {u"Threshold", 2}}, 2);
  W.Use(V.Setup);
  W.EndForm();
}

void WriteProcessorAndMemoryForms(SetupFormWriter &W, SetupVariables &V) {
  WriteProcessorForm(W);
  QuestionRef MemoryMode;
  WriteMemoryForm(W, V, MemoryMode);
  WriteMemoryRasForm(W, V, MemoryMode);
}

}  // namespace platform

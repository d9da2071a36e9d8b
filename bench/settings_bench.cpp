// Setting access on a large setup database, through the protocol as a
// client calls it: GetSettings of 1,000 records against 10,000 questions,
// SetSettings of 1,000 records (one write per question, then combined writes
// over the platform's 8 variables), and SetFormSettings of one whole form of
// 500 questions. Prints the median time of each and the variable calls it
// makes; passes or fails nothing.
#include "bench/synthetic_forms.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Figures {
  double Milliseconds = 0;
  uint64_t Reads = 0;
  uint64_t Writes = 0;
  EFI_STATUS Status = EFI_SUCCESS;
};

// Median time over Runs calls of Work, with the variable calls of the last.
Figures Measure(sim::Firmware &Fw, int Runs, const std::function<EFI_STATUS()> &Work) {
  std::vector<double> Times;
  Figures Last;
  for (int Run = 0; Run < Runs; ++Run) {
    Fw.ResetCounters();
    const auto Start = Clock::now();
    Last.Status = Work();
    Times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - Start).count());
    Last.Reads = Fw.Calls(sim::Service::GetVariable);
    Last.Writes = Fw.Calls(sim::Service::SetVariable);
  }
  std::sort(Times.begin(), Times.end());
  Last.Milliseconds = Times[Times.size() / 2];
  return Last;
}

void Print(const char *What, const Figures &F) {
  std::printf("  %-46s %8.2f ms  GetVariable %5llu  SetVariable %5llu%s\n", What, F.Milliseconds,
              static_cast<unsigned long long>(F.Reads), static_cast<unsigned long long>(F.Writes),
              F.Status == EFI_SUCCESS ? "" : "  (failed)");
}

std::u16string Prompt(int Question) {
  std::string Text = "Setting " + std::to_string(Question);
  return std::u16string(Text.begin(), Text.end());
}

// Request records over names that stay put.
struct Requests {
  std::deque<std::u16string> Names;
  std::vector<BIOS_SETTING_REQUEST> Records;
  explicit Requests(const std::vector<std::u16string> &Wanted) : Records(Wanted.size()) {
    for (size_t I = 0; I < Wanted.size(); ++I) {
      Names.push_back(Wanted[I]);
      Records[I].Name = reinterpret_cast<CHAR16 *>(Names.back().data());
      Records[I].Next = I + 1 < Wanted.size() ? &Records[I + 1] : nullptr;
    }
  }
  void Clear() {
    for (auto &R : Records) R.Found = 0, R.Options = nullptr;
  }
};

struct Values {
  std::deque<std::u16string> Names;
  std::vector<BIOS_SETTING_VALUE> Records;
  explicit Values(const std::vector<std::u16string> &Wanted) : Records(Wanted.size()) {
    for (size_t I = 0; I < Wanted.size(); ++I) {
      Names.push_back(Wanted[I]);
      Records[I].Name = reinterpret_cast<CHAR16 *>(Names.back().data());
      Records[I].Next = I + 1 < Wanted.size() ? &Records[I + 1] : nullptr;
    }
  }
};

// For each record, two values among the question's options (the one it
// holds and another), so that alternating runs change every value.
std::vector<std::pair<uint32_t, uint32_t>> TwoChoices(BIOS_CONFIG_PROTOCOL *P, const std::vector<std::u16string> &Names) {
  Requests R(Names);
  (void)P->GetSettings(P, R.Records.data());
  std::vector<std::pair<uint32_t, uint32_t>> Choices;
  for (const auto &Record : R.Records) {
    uint32_t Other = Record.Value;
    for (const BIOS_SETTING_OPTION *O = Record.Options; O != nullptr; O = O->Next) {
      if (O->Value != Record.Value) Other = O->Value;
    }
    Choices.emplace_back(Record.Value, Other);
  }
  return Choices;
}

bool Start(bioscfgsim::SimulatedMachine &Machine, const bench::SyntheticShape &Shape) {
  bench::SyntheticDatabase Db = bench::BuildSyntheticDatabase(Shape);
  bioscfgsim::PlatformInput Input{Db.Export, Db.HiiProtocolGuid, Db.Variables};
  std::string Error;
  if (!Machine.Start(Input, BIOSCFG_MESSAGES_SOURCE, Error) || !Machine.OpenSession(Error)) {
    std::fprintf(stderr, "settings_bench: %s\n", Error.c_str());
    return false;
  }
  BIOS_CONFIG_PROTOCOL *P = Machine.Protocol();
  return P->SetAllQuestionsMode(P, 1) == EFI_SUCCESS;  // conditions hide some; reach them all
}

}  // namespace

int main(int Argc, char **Argv) {
  const int Runs = Argc > 1 ? std::max(1, std::atoi(Argv[1])) : 5;
  std::printf("settings_bench: median of %d runs\n", Runs);

  {
  bioscfgsim::SimulatedMachine Wide;
  if (!Start(Wide, {.Questions = 10000})) return 1;
  BIOS_CONFIG_PROTOCOL *P = Wide.Protocol();
  std::vector<std::u16string> Every10th;
  for (int Q = 0; Q < 10000; Q += 10) Every10th.push_back(Prompt(Q));
  const auto Choices = TwoChoices(P, Every10th);  // also loads the forms

  Requests Get(Every10th);
  Print("GetSettings, 1,000 of 10,000 questions", Measure(Wide.Firmware(), Runs, [&] {
          Get.Clear();
          return P->GetSettings(P, Get.Records.data());
        }));
  Values Set(Every10th);
  int Flip = 0;
  auto Changes = [&] {
    ++Flip;
    for (size_t I = 0; I < Set.Records.size(); ++I) {
      Set.Records[I].Status = 0;
      Set.Records[I].Value = Flip % 2 ? Choices[I].second : Choices[I].first;
    }
    return P->SetSettings(P, Set.Records.data());
  };
  Print("SetSettings, 1,000 changes, per-question", Measure(Wide.Firmware(), Runs, Changes));
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *X = Wide.Extensions();
  (void)X->SetWriteMode(X, BIOS_CONFIG_WRITES_COMBINED);
  Print("SetSettings, 1,000 changes, combined", Measure(Wide.Firmware(), Runs, Changes));
  (void)X->SetWriteMode(X, BIOS_CONFIG_WRITES_PER_QUESTION);
  Print("SetSettings, 1,000 records already stored", Measure(Wide.Firmware(), Runs, [&] {
          for (auto &R : Set.Records) R.Status = 0;
          return P->SetSettings(P, Set.Records.data());
        }));

  }

  // One form of 500 questions, the list in form order after its title.
  bioscfgsim::SimulatedMachine Long;
  if (!Start(Long, {.Questions = 10000, .QuestionsPerForm = 500})) return 1;
  BIOS_CONFIG_PROTOCOL *L = Long.Protocol();
  // The form path stops at a question a condition hides: ask for the
  // visible ones only, found as GetSettings sees them without --all.
  std::vector<std::u16string> Candidates;
  for (int Q = 1500; Q < 2000; ++Q) Candidates.push_back(Prompt(Q));
  (void)L->SetAllQuestionsMode(L, 0);
  Requests Visible(Candidates);
  (void)L->GetSettings(L, Visible.Records.data());
  std::vector<std::u16string> Questions;
  for (size_t I = 0; I < Candidates.size(); ++I) {
    if (Visible.Records[I].Found == 1) Questions.push_back(Candidates[I]);
  }
  const auto FormChoices = TwoChoices(L, Questions);
  std::vector<std::u16string> FormNames = {u"Form 3"};
  FormNames.insert(FormNames.end(), Questions.begin(), Questions.end());
  Values Form(FormNames);
  int FormFlip = 0;
  std::printf("  (the form's %zu visible questions of 500)\n", Questions.size());
  Print("SetFormSettings, one form of 500 questions", Measure(Long.Firmware(), Runs, [&] {
          ++FormFlip;
          for (size_t I = 1; I < Form.Records.size(); ++I) {
            Form.Records[I].Value = FormFlip % 2 ? FormChoices[I - 1].second : FormChoices[I - 1].first;
          }
          return L->SetFormSettings(L, Form.Records.data());
        }));
  return 0;
}

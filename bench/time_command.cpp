// Times whole runs of a command, as a user meets it: wall time from start
// to exit, CPU time and peak resident memory of the process, with its
// standard output discarded. Prints the median and fastest wall time, the
// median CPU time and the largest peak RSS over the runs.
//
//   time_command LABEL RUNS COMMAND [ARGS...]
#include <sys/resource.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct Run {
  double WallMs = 0;
  double CpuMs = 0;
  long PeakKb = 0;
};

bool RunOnce(char **Command, Run &Out) {
  const auto Start = std::chrono::steady_clock::now();
  const pid_t Child = fork();
  if (Child < 0) return false;
  if (Child == 0) {
    const int Null = open("/dev/null", O_WRONLY);
    if (Null >= 0) dup2(Null, STDOUT_FILENO);
    execv(Command[0], Command);
    _exit(127);
  }
  int Status = 0;
  rusage Usage{};
  if (wait4(Child, &Status, 0, &Usage) != Child) return false;
  Out.WallMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - Start).count();
  auto Ms = [](const timeval &T) { return T.tv_sec * 1000.0 + T.tv_usec / 1000.0; };
  Out.CpuMs = Ms(Usage.ru_utime) + Ms(Usage.ru_stime);
  Out.PeakKb = Usage.ru_maxrss;
  return WIFEXITED(Status) && WEXITSTATUS(Status) == 0;
}

double Median(std::vector<double> Values) {
  std::sort(Values.begin(), Values.end());
  return Values[Values.size() / 2];
}

}  // namespace

int main(int Argc, char **Argv) {
  if (Argc < 4 || std::atoi(Argv[2]) <= 0) {
    std::fprintf(stderr, "usage: %s LABEL RUNS COMMAND [ARGS...]\n", Argv[0]);
    return 2;
  }
  const int Runs = std::atoi(Argv[2]);
  std::vector<double> Wall, Cpu;
  long PeakKb = 0;
  for (int Index = 0; Index < Runs; ++Index) {
    Run R;
    if (!RunOnce(Argv + 3, R)) {
      std::fprintf(stderr, "time_command: %s failed\n", Argv[3]);
      return 1;
    }
    Wall.push_back(R.WallMs);
    Cpu.push_back(R.CpuMs);
    PeakKb = std::max(PeakKb, R.PeakKb);
  }
  std::printf("  %-22s wall %.1f ms median (fastest %.1f), CPU %.1f ms median, peak RSS %.1f MB, %d runs\n", Argv[1],
              Median(Wall), *std::min_element(Wall.begin(), Wall.end()), Median(Cpu), PeakKb / 1024.0, Runs);
  return 0;
}

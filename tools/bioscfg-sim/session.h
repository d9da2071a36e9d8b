// bioscfg-sim session: a list of tool runs on one machine, as a Shell
// script of bioscfg-tool lines runs them after one `load` of the driver.
//
// One simulated machine is started; the driver stays loaded from the first
// line to the last, so its driver-wide state (the reload-and-retry flags,
// the parser image and its cache) carries from one run to the next exactly
// as on firmware, and the variables change in one store (read from
// --variables at the start, written back to it at the end). Each line is
// one run of bioscfg-tool (session_line.h says how it splits) in a fresh
// tool image, as the Shell starts one per line.
//
// Output per run:
//   > bioscfg-tool ARGS        the line as written
//   ...                        what the tool printed
//   < status 0xHEX             the status it ended with (0x0: success)
// A line that cannot be split gets its header, a reason on stderr and
// "< not run". Output is flushed after every run, so a program feeding
// lines on standard input can read each run's lines before it sends the
// next.
//
// Files: the folder given by --files DIR (default: the current folder)
// stands for the simulated TORVEL_PATH folder (folder_mirror.h): before
// every run it is brought in, after every run what the run wrote comes back.
//
// Exit status: 0 when every run ended with EFI_SUCCESS, 1 when any run
// failed or any line could not be split (the runs after it still run),
// 2 when the session could not run or stopped: a usage error, an unreadable
// FILE, a machine that did not start, or a files folder that cannot be
// mirrored.
#pragma once

#include "tools/bioscfg-sim/commands.h"

#include <string>
#include <vector>

namespace bioscfgsim {

// session [--files DIR] FILE|-
int RunSessionCommand(const Options &Opts, const std::vector<std::string> &Args);

}  // namespace bioscfgsim

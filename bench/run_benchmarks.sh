#!/bin/sh
# Runs the benchmarks of a build folder and prints their figures:
#
#   bench/run_benchmarks.sh BUILD_DIR [RUNS]
#
# 1. forms_load_bench: load and list figures inside one process, for 1,000,
#    10,000 and 100,000 questions;
# 2. whole runs of `bioscfg-sim list` on the same synthetic databases,
#    written as files: wall time, CPU time and peak RSS of the process.
# Wall times depend on what else the machine is doing; the fastest run is
# the one least disturbed.
set -eu
build=${1:?usage: run_benchmarks.sh BUILD_DIR [RUNS]}
runs=${2:-5}

"$build/bench/forms_load_bench" "$runs"
"$build/bench/settings_bench" "$runs"
"$build/bench/ini_bench"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "bioscfg-sim --export ... --variables ... list > /dev/null, whole process:"
for questions in 1000 10000 100000; do
  mkdir -p "$work/$questions"
  "$build/bench/write_synthetic_platform" "$work/$questions" "$questions"
  "$build/bench/time_command" "$questions questions" "$runs" "$build/tools/bioscfg-sim/bioscfg-sim" \
    --export "$work/$questions/platform.hii" --variables "$work/$questions/variables.txt" list
done

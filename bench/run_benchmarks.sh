#!/bin/sh
# Runs the benchmarks of a build folder: bench/run_benchmarks.sh BUILD_DIR [RUNS]
set -eu
build=${1:?usage: run_benchmarks.sh BUILD_DIR [RUNS]}
runs=${2:-5}
"$build/bench/forms_load_bench" "$runs"
"$build/bench/settings_bench" "$runs"
"$build/bench/ini_bench"

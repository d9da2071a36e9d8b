#!/bin/sh
# Makes the seeds of every fuzz target in fuzz/targets.txt and runs each for
# a bounded time, printing its throughput.
#
#   fuzz/run_fuzz.sh BUILD_DIR [SECONDS]
#
# BUILD_DIR is a tree configured with clang and -DBIOSCFG_FUZZ=ON. SECONDS
# per target: the argument, else FUZZ_SECONDS, else 30 (eight targets, two
# at a time on two cores: about two minutes). Each target keeps its seeds,
# growing corpus, crash inputs and log in BUILD_DIR/fuzz/work/TARGET/. Exits
# non-zero when any target finds a crash, a leak or a timeout.
set -eu

if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: $0 BUILD_DIR [SECONDS]" >&2
  exit 2
fi
build=$1
seconds=${2:-${FUZZ_SECONDS:-30}}
list=$(mktemp)
trap 'rm -f "$list"' EXIT
grep -v '^#' "$(dirname "$0")/targets.txt" | awk 'NF { print $1, $2 }' > "$list"

targets=$(awk '{ print $1 }' "$list")
seeders=$(awk '$2 != "self" && $2 !~ /^dir:/ { print $2 }' "$list")
# shellcheck disable=SC2086 # the lists are words
cmake --build "$build" --target $targets $seeders -j2

# The targets keep their simulated volumes in temporary folders; on a
# memory file system, a file written for every input costs no disk flush
# (twenty times the catalog target's throughput here).
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi

# fuzz_one TARGET SEEDER: seeds and runs one target; its one-line verdict
# goes to its folder's summary, and the status says whether it stayed clean.
fuzz_one() {
  target=$1 seeder=$2
  dir=$build/fuzz/work/$target
  mkdir -p "$dir/seeds" "$dir/corpus" "$dir/artifacts"
  if [ "$seeder" = self ]; then
    FUZZ_WRITE_SEEDS=$dir/seeds "$build/fuzz/$target"
  elif [ "${seeder#dir:}" != "$seeder" ]; then
    cp "$(dirname "$0")/${seeder#dir:}"/* "$dir/seeds/"
  else
    "$build/fuzz/$seeder" "$dir/seeds"
  fi
  # A target may bring a dictionary of tokens its inputs use: fuzz/TARGET.dict.
  dict=$(dirname "$0")/$target.dict
  if [ -f "$dict" ]; then set -- -dict="$dict"; else set --; fi
  status=0
  "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$dir/artifacts/" "$@" "$dir/corpus" "$dir/seeds" > "$dir/log" 2>&1 || status=1
  if [ $status -eq 0 ]; then verdict=clean; else verdict="FAILED (log: $dir/log)"; fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$dir/log")
  echo "$target: ${runs:-?} inputs in ${seconds}s, ${rate:-?} inputs/s, $verdict" > "$dir/summary"
  return $status
}

# Each target is one process on one core: as many run at once as the
# machine has cores, and the verdicts are printed in list order.
jobs=$(nproc 2>/dev/null || echo 1)
failed=0
running=""
finish_oldest() {
  set -- $running
  oldest_pid=${1%%:*} oldest_target=${1#*:}
  shift
  running="$*"
  if ! wait "$oldest_pid"; then
    failed=1
    tail -n 40 "$build/fuzz/work/$oldest_target/log"
  fi
  cat "$build/fuzz/work/$oldest_target/summary"
}
while read -r target seeder; do
  fuzz_one "$target" "$seeder" < /dev/null &
  running="$running $!:$target"
  # shellcheck disable=SC2086 # the list is words
  set -- $running
  if [ $# -ge "$jobs" ]; then finish_oldest; fi
done < "$list"
while [ -n "$(echo $running)" ]; do finish_oldest; done
exit $failed

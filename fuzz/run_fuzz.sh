#!/bin/sh
# Makes the seed corpora and runs each fuzzer for a while.
#
#   fuzz/run_fuzz.sh BUILD_DIR SECONDS
#
# BUILD_DIR is a tree configured with clang and -DBIOSCFG_FUZZ=ON. The
# corpus grows in BUILD_DIR/fuzz/corpus; crash inputs land in
# BUILD_DIR/fuzz/artifacts. Exits non-zero when the fuzzer finds a crash, a
# leak or a timeout.
set -eu

if [ $# -ne 2 ]; then
  echo "usage: $0 BUILD_DIR SECONDS" >&2
  exit 2
fi
build=$1
seconds=$2

cmake --build "$build" --target forms_fuzz iniparse_fuzz make_seeds -j2

seeds=$build/fuzz/seeds
corpus=$build/fuzz/corpus
artifacts=$build/fuzz/artifacts
mkdir -p "$seeds" "$corpus" "$artifacts"
"$build/fuzz/make_seeds" "$seeds"

"$build/fuzz/forms_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$artifacts/" "$corpus" "$seeds"

# The INI parser image: its own corpus, seeded from the tree. Every input is
# a file written onto the simulated volume, so that volume is kept in memory
# where the host has a memory file system.
mkdir -p "$corpus-iniparse"
fuzz_tmp=${TMPDIR:-/tmp}
if [ -d /dev/shm ] && [ -w /dev/shm ]; then fuzz_tmp=/dev/shm; fi
TMPDIR=$fuzz_tmp "$build/fuzz/iniparse_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$artifacts/iniparse-" "$corpus-iniparse" "$(dirname "$0")/iniparse_seeds"

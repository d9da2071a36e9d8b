#!/usr/bin/env bash
# Builds both homes and runs every test:
#   1. build/       the UEFI images (bioscfg.efi, bioscfg.str) and the host suites
#   2. build-asan/  the host suites again under AddressSanitizer + UBSan
#   3. the images from build/ on real firmware: OVMF's UEFI Shell under QEMU
#   4. build-fuzz/  libFuzzer targets (clang), each run for a bounded time
#                   (FUZZ_SECONDS per target, 30 by default)
#   5. the benchmark, which prints figures (not a pass/fail test)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
jobs=$(nproc)
fuzz_seconds=${FUZZ_SECONDS:-30}  # per fuzz target

"$root/scripts/install-deps.sh"

# Each stage heading says when it began, so a slow stage shows in the log.
step() { printf '\n==== %s (at %ds) ====\n' "$*" "$SECONDS"; }
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
# run_ctest NAME DIR [CTEST ARGS]: runs ctest in a build folder, keeping its
# output as NAME for the closing summary.
run_ctest() {
  local log=$logs/$1.log dir=$2
  shift 2
  (cd "$dir" && ctest --output-on-failure "$@") 2>&1 | tee "$log"
  return "${PIPESTATUS[0]}"
}

step "release build: UEFI images and host suites"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j"$jobs"
objdump -p "$root/build/bioscfg.efi" | grep -E 'Magic|Subsystem'
run_ctest release "$root/build" -j"$jobs" -LE qemu

step "sanitizer build: host suites under ASan + UBSan"
cmake -S "$root" -B "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DBIOSCFG_SANITIZE=ON \
  -DBIOSCFG_EFI_IMAGES=OFF -DBIOSCFG_BENCH=OFF >/dev/null
cmake --build "$root/build-asan" -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 run_ctest sanitizer "$root/build-asan" -j"$jobs"

step "real firmware: the images in OVMF's UEFI Shell under QEMU"
run_ctest qemu "$root/build" -L qemu --verbose

step "fuzz targets (${fuzz_seconds}s each, listed in fuzz/targets.txt)"
CC=clang CXX=clang++ cmake -S "$root" -B "$root/build-fuzz" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DBIOSCFG_FUZZ=ON -DBIOSCFG_EFI_IMAGES=OFF -DBIOSCFG_TESTS=OFF >/dev/null
"$root/fuzz/run_fuzz.sh" "$root/build-fuzz" "$fuzz_seconds"

step "benchmark figures"
"$root/bench/run_benchmarks.sh" "$root/build"

# One closing line over the ctest stages (ctest prints "... tests failed out of N").
total=0; failed=0
for log in "$logs"/*.log; do
  line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
  n=$(echo "$line" | sed -E 's/.* out of ([0-9]+).*/\1/'); f=$(echo "$line" | sed -E 's/.*passed, ([0-9]+) tests failed.*/\1/')
  total=$((total + n)); failed=$((failed + f))
done
echo
echo "tests: $((total - failed)) passed, $failed failed (in ${SECONDS}s)"

#!/usr/bin/env bash
# The main job: builds the driver and runs it inside the simulated firmware on
# the embedded sample server platform, printing the setup questions it reads.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target bioscfg-sim bioscfg_efi bioscfg_str
echo "Built: $root/build/bioscfg.efi and $root/build/bioscfg.str"
"$root/build/tools/bioscfg-sim/bioscfg-sim" list "$@"

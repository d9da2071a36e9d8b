#!/usr/bin/env bash
# scenario.sh BUILD [WORK] [STEPS]: the whole system on real UEFI firmware
# (OVMF under QEMU), checked against the host.
#
# The steps (scenario.steps by default) run first on the host, through
# bioscfg-sim with one variable store carried from step to step, and then
# as the Shell scripts of the boots of one machine: the HII provider, the
# driver and bioscfg-tool loaded from fs1:\tools. Each tool step must print
# the same lines on firmware as on the host and fail or succeed alike; the
# INI files left on the tools volume must equal the host's byte for byte;
# and each step's firmware output must have the lines its expect lines ask
# for. The run folders: WORK/host, WORK/firmware (machine/ holds the disks
# and transcripts). Exits 77 (skipped) where QEMU, OVMF or mtools are missing.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=${2:-$build/qemu/scenario}
steps=${3:-$here/scenario.steps}
source "$here/qemu_lib.sh"
source "$here/scenario_lib.sh"

if ! qemu_available; then
  echo "qemu: QEMU, OVMF or mtools missing; skipped"
  exit 77
fi
for file in bioscfg.efi bioscfg.str iniparse.efi hiiprovider.efi bioscfg-tool.efi tools/bioscfg-sim/bioscfg-sim; do
  [ -f "$build/$file" ] || { qemu_fail "$build/$file is missing"; exit 1; }
done

started=$(date +%s%N)
mkdir -p "$work"
scenario_read "$steps"
scenario_host "$build" "$work/host"
scenario_firmware "$build" "$work/firmware" "$work/host"

failed=0
qemu_expect first "^Image 'FS1:\\\\tools\\\\bioscfg.efi' loaded at [0-9A-F]+ - Success$" "bioscfg.efi starts" || failed=1
scenario_compare "$work/firmware" "$work/host" || failed=1
scenario_check_expects "$work/firmware" || failed=1

tenths=$(( ($(date +%s%N) - started) / 100000000 ))
echo "qemu: figures: ${SCENARIO_TOOL_STEPS} tool steps; boots ${SCENARIO_BOOT_SECONDS[*]} s;" \
  "whole run $((tenths / 10)).$((tenths % 10)) s"
exit $failed

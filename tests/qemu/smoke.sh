#!/usr/bin/env bash
# smoke.sh BUILD [WORK]: the driver on real UEFI firmware (OVMF under QEMU).
#
# First boot: TORVEL_PATH is set with the Shell's `set`, the HII provider
# (serving its embedded sample) and the driver are loaded from fs1:\tools,
# the driver starts, and second copies of both are refused as already started.
# Second boot of the same machine: the variables the provider created are
# still there, with their contents; the provider now replays the same
# platform from the files the host tool exports (hii.bin, variables.txt), and
# a file the firmware writes (dmpstore -s) is read back from the tools volume.
# Exits 77 (skipped) where QEMU, OVMF or mtools are missing.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=${2:-$build/qemu/smoke}
source "$here/qemu_lib.sh"

if ! qemu_available; then
  echo "qemu: QEMU, OVMF or mtools missing; skipped"
  exit 77
fi
for file in bioscfg.efi bioscfg.str hiiprovider.efi tools/bioscfg-sim/bioscfg-sim; do
  [ -f "$build/$file" ] || qemu_fail "$build/$file is missing"
done

started=$(date +%s%N)
qemu_init "$work"
qemu_put tools "$build/bioscfg.efi" "$build/bioscfg.str" "$build/hiiprovider.efi"

# The sample platform as the host tool writes it, for the second boot; and
# the default contents of "Setup" in its Setup form set.
sample=$work/sample
"$build/tools/bioscfg-sim/bioscfg-sim" export-platform "$sample" >/dev/null
export_bytes=$(stat -c %s "$sample/hii.bin")
setup_hex=$(awk '$1 == "Setup" && toupper($2) == "{C7F7C970-FCFF-455D-A884-F67C0E300856}" { print toupper($4) }' \
  "$sample/variables.txt")
[ -n "$setup_hex" ] || qemu_fail "no Setup variable in the sample platform"

failed=0
check() { qemu_expect "$@" || failed=1; }

qemu_boot "$here/smoke_first_boot.nsh" first
first_seconds=$QEMU_LAST_SECONDS
check first '^ +FS1: .*$' "map lists FS1:"
check first 'Sata\(0x1,0xFFFF,0x0\)' "the tools volume is the second disk"
check first "^hiiprovider: kept IoConfig \{43F431E9-20AF-45D0-928E-6AE8289A7036\}: it holds 4 bytes where the platform has 256" \
  "the provider keeps an existing variable of another size"
check first '^hiiprovider: variables from the embedded sample platform: 4 created, 1 kept, 0 failed$' \
  "the provider creates the sample's other variables"
check first "^Image 'FS1:\\\\tools\\\\hiiprovider.efi' loaded at [0-9A-F]+ - Success$" "the provider starts"
check first "^Image 'FS1:\\\\tools\\\\hiiprovider.efi' error in StartImage: Already started$" \
  "a second provider is already started"
check first "^Image 'FS1:\\\\tools\\\\bioscfg.efi' loaded at [0-9A-F]+ - Success$" "bioscfg.efi starts"
check first "^Image 'FS1:\\\\tools\\\\bioscfg.efi' error in StartImage: Already started$" \
  "a second bioscfg.efi is already started"

qemu_put tools "$sample/hii.bin" "$sample/variables.txt"
qemu_boot "$here/smoke_second_boot.nsh" second
second_seconds=$QEMU_LAST_SECONDS
check second "^Variable NV\+RT\+BS 'C7F7C970-FCFF-455D-A884-F67C0E300856:Setup' DataSize = 0x200$" \
  "Setup persisted across the reset"
# dmpstore's hex dump of Setup, back into one string of hex digits.
dumped=$(awk '/^Variable .*:Setup. DataSize/ { on = 1; next }
              on && /^  [0-9A-F]+: / { line = substr($0, 13, 48); gsub(/[ -]/, "", line); printf "%s", line; next }
              on { exit }' "$work/second.txt")
if [ "$dumped" = "$setup_hex" ]; then
  echo "qemu: ok   Setup holds the sample's ${#setup_hex} hex digits"
else
  echo "qemu: FAIL Setup's contents differ from the sample's" >&2
  failed=1
fi
check second "^hiiprovider: forms from hii.bin: $export_bytes bytes, " "the provider serves hii.bin from its folder"
check second '^hiiprovider: variables from variables.txt: 1 created, 4 kept, 0 failed$' \
  "after the reset the provider finds its variables and recreates the one removed"
check second "^Image 'FS1:\\\\tools\\\\bioscfg.efi' loaded at [0-9A-F]+ - Success$" "bioscfg.efi starts again"
# dmpstore -s writes each variable as: name size, data size (UINT32 each),
# the UCS-2 name, the GUID, the attributes (UINT32), the data, a CRC32.
qemu_get tools/setup.dmp "$work/setup.dmp"
saved_hex=$(od -An -v -tx1 -j $((4 + 4 + 12 + 16 + 4)) -N 512 "$work/setup.dmp" | tr -d ' \n' | tr a-f A-F)
if [ "$saved_hex" = "$setup_hex" ]; then
  echo "qemu: ok   setup.dmp, written by the firmware, holds the sample's Setup"
else
  echo "qemu: FAIL setup.dmp read back from the tools volume does not hold the sample's Setup" >&2
  failed=1
fi

total_tenths=$(( ($(date +%s%N) - started) / 100000000 ))
echo "qemu: figures: first boot ${first_seconds} s, second boot ${second_seconds} s," \
  "whole run $((total_tenths / 10)).$((total_tenths % 10)) s"
exit $failed

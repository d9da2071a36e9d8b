#!/usr/bin/env bash
# compat.sh BUILD [WORK]: the driver on plain OVMF (no provider), through
# hiicompat.efi, which presents the firmware's UEFI 2.x HII database as the
# Framework HII database the driver reads.
#
# First boot: hiicompat starts (a second copy is refused), the driver and
# its parser image start after it, show lists OVMF's own forms, its
# questions are read (the
# platform form's resolution one-of, in a buffer store owned by PlatformDxe,
# and the RAM disk's memory type), the resolution is set by option text
# (through Config Routing to PlatformDxe), and a value that is not an
# option is refused with the driver's text.
# Second boot: the firmware kept the change: dmpstore shows the variable
# PlatformDxe saves (read without hiicompat or the driver), and the driver
# reads the setting back through Config Routing.
# Exits 77 (skipped) where QEMU, OVMF or mtools are missing.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=${2:-$build/qemu/compat}
source "$here/qemu_lib.sh"

if ! qemu_available; then
  echo "qemu: QEMU, OVMF or mtools missing; skipped"
  exit 77
fi
for file in hiicompat.efi bioscfg.efi bioscfg.str iniparse.efi bioscfg-tool.efi; do
  [ -f "$build/$file" ] || qemu_fail "$build/$file is missing"
done

started=$(date +%s%N)
qemu_init "$work"
qemu_put tools "$build/hiicompat.efi" "$build/bioscfg.efi" "$build/bioscfg.str" "$build/iniparse.efi" \
  "$build/bioscfg-tool.efi"

failed=0
check() { qemu_expect "$@" || failed=1; }
resolution='Change Preferred Resolution for Next Boot'

qemu_boot "$here/compat_first_boot.nsh" first
first_seconds=$QEMU_LAST_SECONDS
check first '^hiicompat: [0-9]+ form sets: carried over [1-9][0-9]* one-of, ' "hiicompat translates OVMF's forms"
check first '^hiicompat: left out: [0-9]+ string, ' "and counts what it leaves out"
check first '^hiicompat: device I/O on the root device path: over the PCI root bridge$' \
  "device I/O over OVMF's root bridge"
check first "^Image 'FS1:\\\\tools\\\\hiicompat.efi' loaded at [0-9A-F]+ - Success$" "hiicompat.efi starts"
check first "^Image 'FS1:\\\\tools\\\\hiicompat.efi' error in StartImage: Already started$" \
  "a second hiicompat.efi is already started"
check first "^Image 'FS1:\\\\tools\\\\bioscfg.efi' loaded at [0-9A-F]+ - Success$" "bioscfg.efi starts after it"
check first '^OVMF Settings$' "show lists OVMF's own forms"
check first "^  $resolution = [^ ].*\{.*800x600.*\}$" "show: the resolution by its option text, with its options"
check first '^  Disk Memory Type: = Boot Service Data  \{Reserved \| Boot Service Data\}  \[grayed out\]$' \
  "show: the RAM disk form's memory type, grayed out (it has no storage)"
check first "^record: found=1 type=one-of value=[0-9]+ prompt=\"$resolution\" options=.*\"800x600\"" \
  "the platform form's resolution, with the GOP's modes as options"
check first '^record: found=1 type=one-of value=[0-9]+ prompt="Disk Memory Type:" options=0="Boot Service Data",1="Reserved"$' \
  "the RAM disk form's memory type"
check first "^record: status=1 value=[0-9]+ prompt=\"$resolution\"$" "set by option text, through Config Routing"
check first '^result: BCFG_E_OUT_OF_RANGE$' "a value that is no option is refused"
check first "^error: Data for BIOS Var $resolution is out of range$" "with the driver's text"

# The option value of 800x600, as the firmware listed it.
chosen=$(grep -o '[0-9]*="800x600"' "$work/first.txt" | head -n 1 | cut -d= -f1)
check first "^record: found=1 type=one-of value=$chosen prompt=\"$resolution\"" "read back: 800x600"

qemu_boot "$here/compat_second_boot.nsh" second
second_seconds=$QEMU_LAST_SECONDS
# PlatformDxe saves the preference as two UINT32s: 800 (0x320), 600 (0x258).
check second "^Variable NV\+RT\+BS '7235C51C-0C80-4CAB-87AC-3B084A6304B1:PlatformConfig' DataSize = 0x08$" \
  "the platform driver saved the preference in its variable"
check second '^  00000000: 20 03 00 00 58 02 00 00-' "800x600, as the firmware's dmpstore shows it"
check second "^record: found=1 type=one-of value=$chosen prompt=\"$resolution\"" \
  "after the reset the driver reads 800x600 back through Config Routing"

total_tenths=$(( ($(date +%s%N) - started) / 100000000 ))
echo "qemu: figures: first boot ${first_seconds} s, second boot ${second_seconds} s," \
  "whole run $((total_tenths / 10)).$((total_tenths % 10)) s"
exit $failed

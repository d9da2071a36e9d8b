#!/usr/bin/env bash
# The main job: the whole system on real UEFI firmware. OVMF boots its UEFI
# Shell under QEMU; the Shell loads the HII provider (the sample server
# platform), the bioscfg driver, and runs the configuration tool through the
# story of tests/qemu/scenario.steps: the settings before, values refused
# and set, an INI file saved, edited INI files loaded, the settings after a
# reset. The same steps run in the simulator too, and the run fails unless
# both print the same lines and write the same INI files. Then plain OVMF,
# with no provider, boots twice more: hiicompat.efi presents the firmware's
# own UEFI HII forms to the driver, which reads them, changes OVMF's
# preferred resolution by option text and refuses a non-option; after the
# reset the firmware still holds the change.
#
#   ./scripts/demo.sh          on firmware (on the host when QEMU or OVMF is missing)
#   ./scripts/demo.sh --host   the same story in bioscfg-sim only (a second or so)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
mode=firmware
case ${1:-} in
  --host) mode=host ;;
  '') ;;
  -h | --help) sed -n '2,11s/^# \{0,1\}//p' "$0"; exit 0 ;;
  *) echo "usage: $0 [--host]" >&2; exit 2 ;;
esac

"$root/scripts/install-deps.sh" ||
  echo "demo: some packages could not be installed; going on with what is here" >&2

source "$root/tests/qemu/qemu_lib.sh"
source "$root/tests/qemu/scenario_lib.sh"
source "$root/tests/qemu/scenario_account.sh"
source "$root/tests/qemu/compat_account.sh"
if [ "$mode" = firmware ] && ! qemu_available; then
  echo "demo: QEMU, OVMF or mtools missing: the story runs in the simulator instead"
  mode=host
fi

build=$root/build
work=$build/demo
targets=(bioscfg-sim)
[ "$mode" = firmware ] && targets+=(bioscfg_efi bioscfg_str iniparse_efi hiiprovider_efi bioscfg-tool_efi hiicompat_efi)
echo "demo: building ${targets[*]} in $build ..."
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)" --target "${targets[@]}" >"$work.build.log" 2>&1 ||
  { cat "$work.build.log" >&2; exit 1; }

scenario_read "$root/tests/qemu/scenario.steps"
if [ "$mode" = host ]; then
  scenario_host "$build" "$work/host"
  echo
  echo "bioscfg in the simulated firmware (bioscfg-sim): the tool's own code, run step by step"
  echo "on the sample server platform, one session (the driver loaded once) per boot."
  scenario_account "$work/host"
  echo
  echo "Outputs of each step and the INI files: $work/host"
  exit 0
fi

echo "demo: booting OVMF under QEMU twice (about half a minute) ..."
if ! "$root/tests/qemu/scenario.sh" "$build" "$work" >"$work.log" 2>&1; then
  grep -E 'FAIL|qemu: [^o]' "$work.log" >&2 || cat "$work.log" >&2
  echo "demo: the run on firmware failed; its log: $work.log" >&2
  exit 1
fi
echo
echo "bioscfg on real UEFI firmware: OVMF's UEFI Shell loads hiiprovider.efi (the sample"
echo "server platform's Framework HII and setup variables) and bioscfg.efi from fs1:\\tools,"
echo "then runs bioscfg-tool.efi; a reset comes before the last part."
scenario_account "$work/firmware"
echo
echo "The firmware printed the same lines and wrote the same INI files as the simulator"
echo "given the same steps ($SCENARIO_TOOL_STEPS tool steps; $(sed -n 's/^qemu: figures: [^;]*; //p' "$work.log"))."
echo "Transcripts: $work/firmware/machine/*.txt; the run's log: $work.log"

echo
echo "demo: booting plain OVMF twice more, with no provider (about 20 s) ..."
if ! "$root/tests/qemu/compat.sh" "$build" "$work/compat" >"$work.compat.log" 2>&1; then
  grep -E 'FAIL|qemu: [^o]' "$work.compat.log" >&2 || cat "$work.compat.log" >&2
  echo "demo: the run on plain OVMF failed; its log: $work.compat.log" >&2
  exit 1
fi
echo
echo "bioscfg on OVMF's own setup forms: the Shell loads hiicompat.efi, iniparse.efi and"
echo "bioscfg.efi from fs1:\\tools; hiicompat presents the firmware's UEFI 2.x HII database"
echo "as the Framework one the driver reads, and its buffer stores through Config Routing."
compat_account "$work/compat"
echo
echo "Every check of the run passed ($(sed -n 's/^qemu: figures: //p' "$work.compat.log"))."
echo "Transcripts: $work/compat/*.txt"

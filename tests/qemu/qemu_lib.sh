# qemu_lib.sh: boots OVMF's UEFI Shell under QEMU on two FAT volumes and
# runs a Shell script there. Sourced by the scenario scripts in this folder:
#
#   source tests/qemu/qemu_lib.sh
#   qemu_init WORK                    fresh volumes and a fresh copy of OVMF's variable store
#   qemu_put FOLDER FILE...           copy host files into FOLDER of the tools volume
#   qemu_boot SCRIPT NAME             boot, run SCRIPT as startup.nsh; transcript WORK/NAME.txt
#   qemu_get PATH HOSTFILE            copy a file back from the tools volume
#   qemu_type PATH                    print a file of the tools volume
#   qemu_expect NAME PATTERN [WHAT]   fail unless the transcript has a line matching PATTERN (ERE)
#
# The disks, in the order the firmware finds them:
#   WORK/boot.img   a small FAT volume holding only startup.nsh. OVMF's Shell
#                   maps it as FS0: and runs FS0:\startup.nsh.
#   WORK/tools.img  the tools volume, FS1:, so a deployment that names its
#                   folder with a volume (TORVEL_PATH=fs1:\tools) is tried as
#                   it is met in the field, not on the volume the Shell starts on.
# (`map` shows FS0: on Sata(0x0,0xFFFF,0x0) and FS1: on Sata(0x1,0xFFFF,0x0).)
# QEMU_TOOLS_VOLUME holds that name for scripts that build paths.
#
# Every qemu_boot after the first in the same WORK is a reboot of the same
# machine: the variable store and the tools volume carry over; only
# startup.nsh is replaced.
#
# Settings: QEMU_TIMEOUT (seconds a boot may take, default 90).

QEMU_TOOLS_VOLUME=fs1
QEMU_OVMF_CODE=${QEMU_OVMF_CODE:-/usr/share/OVMF/OVMF_CODE_4M.fd}
QEMU_OVMF_VARS=${QEMU_OVMF_VARS:-/usr/share/OVMF/OVMF_VARS_4M.fd}
QEMU_TIMEOUT=${QEMU_TIMEOUT:-90}

qemu_fail() {
  echo "qemu: $*" >&2
  return 1
}

# Whether this machine can run the firmware at all (for a test to skip).
qemu_available() {
  command -v qemu-system-x86_64 >/dev/null && command -v mcopy >/dev/null &&
    command -v mkfs.vfat >/dev/null && [ -r "$QEMU_OVMF_CODE" ] && [ -r "$QEMU_OVMF_VARS" ]
}

qemu_init() {
  QEMU_WORK=$1
  rm -rf "$QEMU_WORK" && mkdir -p "$QEMU_WORK" || return 1
  truncate -s 2M "$QEMU_WORK/boot.img" && mkfs.vfat -n BOOT "$QEMU_WORK/boot.img" >/dev/null || return 1
  truncate -s 64M "$QEMU_WORK/tools.img" && mkfs.vfat -F 32 -n TOOLS "$QEMU_WORK/tools.img" >/dev/null || return 1
  # The firmware's non-volatile variables: writable, so a copy per machine.
  cp "$QEMU_OVMF_VARS" "$QEMU_WORK/vars.fd"
}

qemu_put() {
  local folder=$1
  shift
  local img=$QEMU_WORK/tools.img
  # mmd fails on a folder that exists; only a new one is made.
  mdir -i "$img" "::/$folder" >/dev/null 2>&1 || mmd -i "$img" "::/$folder" || return 1
  mcopy -o -i "$img" "$@" "::/$folder/"
}

qemu_get() { mcopy -o -i "$QEMU_WORK/tools.img" "::/$1" "$2"; }

qemu_type() { mtype -i "$QEMU_WORK/tools.img" "::/$1"; }

# The Shell's output without terminal escapes and carriage returns.
qemu_clean_transcript() { sed -e 's/\x1b\[[0-9;=?]*[A-Za-z]//g' -e 's/\r//g' "$1"; }

# Presses a key as soon as the Shell offers to skip its 5-second countdown
# before startup.nsh ("... or any other key to continue"). Stops with QEMU.
qemu_skip_countdown() {
  local raw=$1 keys=$2 pid=$3
  while kill -0 "$pid" 2>/dev/null; do
    if grep -aq 'or any other key to continue' "$raw"; then
      printf ' ' >&"$keys"
      return
    fi
    sleep 0.2
  done
}

qemu_boot() {
  local script=$1 name=$2
  local raw=$QEMU_WORK/$name.raw txt=$QEMU_WORK/$name.txt fifo=$QEMU_WORK/keys.fifo
  [ -n "$QEMU_WORK" ] && [ -f "$QEMU_WORK/vars.fd" ] || { qemu_fail "qemu_init first"; return 1; }
  # CR LF lines, and a shutdown at the end so a script that runs through
  # never leaves the machine waiting at the prompt until the timeout.
  { sed -e 's/\r$//' -e 's/$/\r/' "$script"; printf 'reset -s\r\n'; } >"$QEMU_WORK/startup.nsh"
  mcopy -o -i "$QEMU_WORK/boot.img" "$QEMU_WORK/startup.nsh" ::/startup.nsh || return 1

  rm -f "$fifo" && mkfifo "$fifo" || return 1
  local keys
  exec {keys}<>"$fifo"  # read-write: opening never blocks, and QEMU never sees the end of its input
  : >"$raw"
  local start=$(date +%s%N)
  timeout "$QEMU_TIMEOUT" qemu-system-x86_64 -machine q35 -m 256 -display none -monitor none \
    -serial stdio -no-reboot -net none \
    -drive if=pflash,format=raw,readonly=on,file="$QEMU_OVMF_CODE" \
    -drive if=pflash,format=raw,file="$QEMU_WORK/vars.fd" \
    -drive format=raw,file="$QEMU_WORK/boot.img" \
    -drive format=raw,file="$QEMU_WORK/tools.img" \
    <&"$keys" >"$raw" 2>"$QEMU_WORK/$name.stderr" &
  local pid=$!
  qemu_skip_countdown "$raw" "$keys" "$pid"
  wait "$pid"
  local status=$?
  exec {keys}>&-
  rm -f "$fifo"
  local tenths=$(( ($(date +%s%N) - start) / 100000000 ))
  qemu_clean_transcript "$raw" >"$txt"
  QEMU_LAST_SECONDS=$((tenths / 10)).$((tenths % 10))
  echo "qemu: boot '$name' took ${QEMU_LAST_SECONDS} s (transcript $txt)"
  [ "$status" -eq 124 ] && { qemu_fail "boot '$name' timed out after ${QEMU_TIMEOUT} s"; return 1; }
  [ "$status" -eq 0 ] || { qemu_fail "boot '$name': QEMU exited with $status: $(cat "$QEMU_WORK/$name.stderr")"; return 1; }
  grep -q 'UEFI Interactive Shell' "$txt" || { qemu_fail "boot '$name' never reached the Shell"; return 1; }
}

qemu_expect() {
  local name=$1 pattern=$2 what=${3:-$2}
  if grep -Eq -- "$pattern" "$QEMU_WORK/$name.txt"; then
    echo "qemu: ok   $what"
    return 0
  fi
  echo "qemu: FAIL $what (no line matches /$pattern/ in $QEMU_WORK/$name.txt)" >&2
  return 1
}

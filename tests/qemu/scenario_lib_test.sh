#!/usr/bin/env bash
# scenario_lib_test.sh: the scenario's own machinery, without firmware. A
# fault here would hide a difference between firmware and host (a transcript
# cut wrongly, an argument split otherwise than the Shell splits it, an INI
# edit that lands elsewhere), so each piece is checked on made-up input.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/qemu_lib.sh"
source "$here/scenario_lib.sh"
source "$here/scenario_account.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

same() {  # same WHAT EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    echo "ok   $1"
  else
    printf 'FAIL %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3" >&2
    failed=1
  fi
}

# Shell-style splitting: input, then the words joined with |.
while IFS=$'\t' read -r line expected; do
  scenario_words "$line"
  same "words of [$line]" "$expected" "$(IFS='|'; echo "${SCENARIO_WORDS[*]}")"
done <<'EOF'
get "Quiet Boot" "Baud Rate"	get|Quiet Boot|Baud Rate
set   "A=1"	set|A=1
get "Serial ^#1" ^"x	get|Serial #1|"x
set-form "" x	set-form||x
load --dry-run fixed.ini	load|--dry-run|fixed.ini
EOF
if scenario_words 'get "open' 2>/dev/null; then same "unbalanced quotes fail" 1 0; else same "unbalanced quotes fail" 1 1; fi

# INI edits: a value replaced with its comment kept in its column, a key
# added at its section's end before the blank line, a missing section fails.
printf '[BIOS]\n\n[BIOS::A]\nX=760          ;Options: 1=a\nY=1\n\n[BIOS::B]\nX=5\n' >"$work/in.ini"
scenario_edit "$work/in.ini" "$work/out.ini" "[BIOS::A]" "X=1000" "New=3" "[BIOS::B]" "X=6"
same "edit keeps the comment's column" "X=1000         ;Options: 1=a" "$(sed -n 4p "$work/out.ini")"
same "edit adds a key at its section's end" "Y=1|New=3||[BIOS::B]|X=6" "$(sed -n '5,9p' "$work/out.ini" | paste -sd'|')"
if scenario_edit "$work/in.ini" "$work/bad.ini" "[BIOS::C]" "X=1" 2>/dev/null; then
  same "edit of a missing section fails" 1 0
else
  same "edit of a missing section fails" 1 1
fi

# Transcript cutting: the lines between the markers, Shell lines dropped,
# %lasterror% 0x0 as 0 and any other value kept.
printf '%s\n' "FS1:\\tools\\> load -nc bioscfg.efi" "Image 'FS1:\\tools\\bioscfg.efi' loaded at DC24000 - Success" \
  "bioscfg-step 1" "result: EFI_SUCCESS" "FS1:\\tools\\> stray prompt" "record: a" "bioscfg-exit 0x0" \
  "between steps" "bioscfg-step 2" "result: BCFG_E_OUT_OF_RANGE" "bioscfg-exit 0xC0004" >"$work/transcript.txt"
mkdir "$work/cut"
scenario_split "$work/transcript.txt" "$work/cut"
same "step 1's lines" "result: EFI_SUCCESS|record: a" "$(paste -sd'|' "$work/cut/1.out")"
same "step 1's status" "0" "$(cat "$work/cut/1.status")"
same "step 2's lines" "result: BCFG_E_OUT_OF_RANGE" "$(cat "$work/cut/2.out")"
same "step 2's status" "0xC0004" "$(cat "$work/cut/2.status")"

# The steps file: kinds, boots, step numbers; each boot's Shell script.
printf '%s\n' "# comment" "boot one" "shell fs1:" "tool get \"A\"" "expect ^result: EFI_SUCCESS\$" \
  "boot two" "tool list" >"$work/steps"
scenario_read "$work/steps"
same "kinds" "boot shell tool expect boot tool" "${SCENARIO_KIND[*]}"
same "step numbers run over the boots" "0 0 1 1 1 2" "${SCENARIO_STEP[*]}"
same "boot one's script" "fs1:|echo -off|echo bioscfg-step 1|bioscfg-tool.efi get \"A\"|echo bioscfg-exit %lasterror%|echo bioscfg-end" \
  "$(scenario_nsh one | paste -sd'|')"
same "boot two's script" "echo -off|echo bioscfg-step 2|bioscfg-tool.efi list|echo bioscfg-exit %lasterror%|echo bioscfg-end" \
  "$(scenario_nsh two | paste -sd'|')"

# The host run: one session per boot, fed a line at a time, so that an
# edit between two steps is seen by the next one. A stand-in for bioscfg-sim
# answers as a session does (header, lines, status) and tells its process,
# the files it sees and the words it got.
mkdir -p "$work/build/tools/bioscfg-sim"
cat >"$work/build/tools/bioscfg-sim/bioscfg-sim" <<'SIM'
#!/usr/bin/env bash
while [ "$1" != --files ]; do shift; done
files=$2
failed=0
while IFS= read -r line; do
  echo "> bioscfg-tool $line"
  echo "session $$ sees $(cd "$files" && ls | paste -sd, -)"
  case $line in
    save*) printf '[BIOS::A]\nX=1\n' >"$files/${line#save }"; echo "< status 0x0" ;;
    fail*) echo "result: failed"; echo "< status 0x8000000000000002"; failed=1 ;;
    *) echo "< status 0x0" ;;
  esac
done
exit $failed
SIM
chmod +x "$work/build/tools/bioscfg-sim/bioscfg-sim"
printf '%s\n' "boot one" "tool save a.ini" "edit a.ini b.ini [BIOS::A] X=2" "tool look" "tool fail" \
  "boot two" "tool look" >"$work/host.steps"
scenario_read "$work/host.steps"
if scenario_host "$work/build" "$work/host"; then same "host run" 0 0; else same "host run" 0 1; fi
session_of() { sed -n 's/^session \([0-9]*\) .*/\1/p' "$work/host/$1.out"; }
same "an edit between two steps reaches the next" "sees a.ini,b.ini" "$(sed -n 's/^session [0-9]* //p' "$work/host/2.out")"
same "one session for the steps of a boot" "$(session_of 1)" "$(session_of 3)"
[ "$(session_of 3)" != "$(session_of 4)" ]; same "a new session for the next boot" 0 $?
same "a step's lines, without header and status" "result: failed" "$(sed 1d "$work/host/3.out")"
same "statuses" "0 0 0x8000000000000002 0" "$(cat "$work/host/"{1,2,3,4}.status | paste -sd' ')"
same "the edited file" "X=2" "$(sed -n 2p "$work/host/files/b.ini")"

# The account: option texts with blanks, records that were not found.
printf '%s\n' 'result: EFI_SUCCESS' \
  'record: found=1 type=one-of value=2 prompt="Power Restore Policy" options=0="Power Off",1="Last State",2="Power On"' \
  'record: found=0 prompt="Baud Rate"' >"$work/get.out"
same "account of a get" "Power Restore Policy = 2 (Power On)|Baud Rate not shown: suppressed, hidden or absent" \
  "$(scenario_account_step 'get "Power Restore Policy"' "$work/get.out" | sed 's/^ *//; s/  */ /g' | paste -sd'|')"

exit $failed

# scenario_lib.sh: runs a list of steps (format: scenario.steps) on the
# host through bioscfg-sim and on firmware through OVMF's Shell, and compares
# the two. Sourced by scenario.sh and scripts/demo.sh after qemu_lib.sh:
#
#   scenario_read STEPS               parse the steps into the SCENARIO_* arrays
#   scenario_host BUILD DIR           run the tool steps and edits on the host into DIR
#   scenario_firmware BUILD DIR HOST  boot the machine once per boot, into DIR
#                                     (HOST: the host run's folder, for the edited files)
#   scenario_compare FIRMWARE HOST    compare the tool's lines and the INI files
#   scenario_check_expects DIR        the expect lines against DIR's step outputs
#
# A run's folder holds, per tool step N (numbered over all boots from 1),
# N.out (the tool's lines) and N.status ("0" for success, else the failing
# status), and files/ with the INI files as they stand at the end.

SCENARIO_STEP_MARK=bioscfg-step
SCENARIO_EXIT_MARK=bioscfg-exit
SCENARIO_END_MARK=bioscfg-end

# scenario_words TEXT: splits TEXT as the UEFI Shell splits a command line
# (blanks separate words, "..." groups, ^ takes the next character as it is)
# into the array SCENARIO_WORDS.
scenario_words() {
  local text=$1 word='' quoted=0 has_word=0 i c
  SCENARIO_WORDS=()
  for ((i = 0; i < ${#text}; i++)); do
    c=${text:i:1}
    if [ "$c" = '^' ] && ((i + 1 < ${#text})); then
      i=$((i + 1)); word+=${text:i:1}; has_word=1
    elif [ "$c" = '"' ]; then
      quoted=$((1 - quoted)); has_word=1
    elif [ "$quoted" -eq 0 ] && { [ "$c" = ' ' ] || [ "$c" = $'\t' ]; }; then
      ((has_word)) && SCENARIO_WORDS+=("$word")
      word='' has_word=0
    else
      word+=$c; has_word=1
    fi
  done
  ((has_word)) && SCENARIO_WORDS+=("$word")
  [ "$quoted" -eq 0 ] || { echo "scenario: unbalanced quotes in: $text" >&2; return 1; }
}

# Parallel arrays, one entry per line that is not blank or a comment:
# SCENARIO_KIND (boot shell phase tool expect edit), SCENARIO_TEXT (the rest
# of the line), SCENARIO_BOOT (the boot it belongs to) and SCENARIO_STEP
# (for tool and expect lines, the number of their tool step).
scenario_read() {
  local steps=$1 line kind text boot='' step=0 number=0
  SCENARIO_KIND=() SCENARIO_TEXT=() SCENARIO_BOOT=() SCENARIO_STEP=() SCENARIO_BOOTS=()
  while IFS= read -r line || [ -n "$line" ]; do
    number=$((number + 1))
    case $line in '' | '#'*) continue ;; esac
    kind=${line%% *}
    text=${line#"$kind"}
    text=${text# }
    case $kind in
      boot) boot=$text; SCENARIO_BOOTS+=("$boot") ;;
      tool) step=$((step + 1)) ;;
      shell | phase | edit) ;;
      expect) [ "$step" -gt 0 ] || { echo "scenario: $steps:$number: expect before any tool line" >&2; return 1; } ;;
      *) echo "scenario: $steps:$number: unknown line kind '$kind'" >&2; return 1 ;;
    esac
    [ -n "$boot" ] || { echo "scenario: $steps:$number: a step before the first boot line" >&2; return 1; }
    SCENARIO_KIND+=("$kind") SCENARIO_TEXT+=("$text") SCENARIO_BOOT+=("$boot") SCENARIO_STEP+=("$step")
  done <"$steps"
  SCENARIO_TOOL_STEPS=$step
}

# scenario_edit FROM TO EDIT...: TO is FROM with the edits ("[SECTION]",
# "KEY=VALUE") made. A value is replaced in place, the comment after it
# kept; a key the section lacks is added at the section's end. A section
# that FROM lacks is an error.
scenario_edit() {
  local from=$1 to=$2
  shift 2
  local edits=''
  local section='' arg
  for arg in "$@"; do
    case $arg in
      '['*']') section=${arg:1:${#arg}-2} ;;
      *=*) [ -n "$section" ] || { echo "scenario: edit $arg names no section" >&2; return 1; }
        edits+="$section"$'\t'"${arg%%=*}"$'\t'"${arg#*=}"$'\n' ;;
      *) echo "scenario: edit: '$arg' is neither [SECTION] nor KEY=VALUE" >&2; return 1 ;;
    esac
  done
  EDITS=$edits awk '
    BEGIN {
      n = split(ENVIRON["EDITS"], lines, "\n")
      for (i = 1; i <= n; i++) {
        if (lines[i] == "") continue
        split(lines[i], f, "\t")
        value[f[1], f[2]] = f[3]; pending[f[1], f[2]] = 1; wanted[f[1]] = 1
        order[++count] = f[1] SUBSEP f[2]
      }
    }
    # Keys of the section just ended that the file did not hold, before the
    # blank lines that close it.
    function add_missing(   i, key) {
      for (i = 1; i <= count; i++) {
        if (!(order[i] in pending)) continue
        split(order[i], key, SUBSEP)
        if (key[1] != section) continue
        print key[2] "=" value[order[i]]
        delete pending[order[i]]
      }
    }
    function flush_blanks() { for (; blanks > 0; blanks--) print "" }
    /^\[.*\]$/ {
      add_missing(); flush_blanks()
      section = substr($0, 2, length($0) - 2); seen[section] = 1
      print; next
    }
    /^$/ { blanks++; next }
    {
      flush_blanks()
      eq = index($0, "=")
      key = eq ? substr($0, 1, eq - 1) : ""
      if (eq && (section, key) in value) {
        rest = substr($0, eq + 1)
        match(rest, /^[^ ;]*/)
        old_length = RLENGTH
        tail = substr(rest, old_length + 1)
        # The comment keeps its column while at least one blank is left.
        match(tail, /^ +/)
        blanks_after = RLENGTH > 0 ? RLENGTH : 0
        width = old_length + blanks_after - length(value[section, key])
        if (blanks_after > 0) tail = sprintf("%" (width > 1 ? width : 1) "s", "") substr(tail, blanks_after + 1)
        $0 = key "=" value[section, key] tail
        delete pending[section, key]
      }
      print
    }
    END {
      add_missing(); flush_blanks()
      for (s in wanted) if (!(s in seen)) { print "scenario: edit: no section [" s "]" > "/dev/stderr"; failed = 1 }
      exit failed
    }' "$from" >"$to"
}

# The files the edit lines write.
scenario_edited_files() {
  local i
  for i in "${!SCENARIO_KIND[@]}"; do
    [ "${SCENARIO_KIND[$i]}" = edit ] || continue
    scenario_words "${SCENARIO_TEXT[$i]}" && echo "${SCENARIO_WORDS[1]}"
  done
}

# The folders capture steps name.
scenario_captured_folders() {
  local i
  for i in "${!SCENARIO_KIND[@]}"; do
    [ "${SCENARIO_KIND[$i]}" = tool ] || continue
    scenario_words "${SCENARIO_TEXT[$i]}" && [ "${SCENARIO_WORDS[0]}" = capture ] && echo "${SCENARIO_WORDS[1]}"
  done
}

# scenario_host BUILD DIR: every tool step through bioscfg-sim, which starts
# the same tool in the simulator. As on firmware, where the driver is loaded
# once per boot, the tool steps of a boot run in one `bioscfg-sim session`:
# its driver-wide state carries from step to step. The session is fed one
# line at a time and each step's lines are read before the next is sent, so
# an edit line between two steps changes the file the next step reads. The
# INI files live in DIR/files (the session's --files folder), the variables
# in DIR/variables.txt from the first boot to the last.
scenario_host() {
  local build=$1 dir=$2 i boot=''
  local sim=$build/tools/bioscfg-sim/bioscfg-sim
  rm -rf "$dir" && mkdir -p "$dir/files" || return 1
  dir=$(cd "$dir" && pwd)
  for i in "${!SCENARIO_KIND[@]}"; do
    if [ "${SCENARIO_BOOT[$i]}" != "$boot" ]; then
      scenario_session_end || return 1  # a reboot: the driver is loaded afresh
      boot=${SCENARIO_BOOT[$i]}
    fi
    scenario_words "${SCENARIO_TEXT[$i]}" || return 1
    case ${SCENARIO_KIND[$i]} in
      edit) (cd "$dir/files" && scenario_edit "${SCENARIO_WORDS[@]}") || return 1 ;;
      tool)
        [ -n "$SCENARIO_HOST_PID" ] || scenario_session_start "$sim" "$dir" "$boot"
        scenario_session_step "$dir" "${SCENARIO_STEP[$i]}" "${SCENARIO_TEXT[$i]}" || return 1
        ;;
    esac
  done
  scenario_session_end
}

# The session of the boot under way: its process, and the descriptors of its
# standard input and output.
SCENARIO_HOST_PID='' SCENARIO_HOST_IN='' SCENARIO_HOST_OUT=''

# scenario_session_start SIM DIR BOOT: a session reading standard input; its
# complaints go to DIR/BOOT.session.err.
scenario_session_start() {
  local sim=$1 dir=$2 boot=$3
  coproc SCENARIO_SESSION {
    exec "$sim" --variables "$dir/variables.txt" session --files "$dir/files" - 2>"$dir/$boot.session.err"
  }
  SCENARIO_HOST_PID=$SCENARIO_SESSION_PID SCENARIO_HOST_IN=${SCENARIO_SESSION[1]}
  SCENARIO_HOST_OUT=${SCENARIO_SESSION[0]}
}

# scenario_session_step DIR N TEXT: sends one line; the run's lines, between
# its "> bioscfg-tool" header and its "< status" line, go to DIR/N.out, and
# its status (0 for success, else the status) to DIR/N.status.
scenario_session_step() {
  local dir=$1 step=$2 text=$3 line status=''
  printf '%s\n' "$text" >&"$SCENARIO_HOST_IN" || { echo "scenario: host step $step: the session is gone" >&2; return 1; }
  IFS= read -r line <&"$SCENARIO_HOST_OUT" || line=''
  case $line in
    '> bioscfg-tool '*) ;;
    *) echo "scenario: host step $step: the session answered '$line'; $(cat "$dir"/*.session.err)" >&2; return 1 ;;
  esac
  : >"$dir/$step.out"
  while IFS= read -r line <&"$SCENARIO_HOST_OUT"; do
    case $line in
      '< status '*) status=${line#'< status '}; break ;;
      '< not run') echo "scenario: host step $step: $(cat "$dir"/*.session.err)" >&2; return 1 ;;
    esac
    printf '%s\n' "$line" >>"$dir/$step.out"
  done
  [ -n "$status" ] || { echo "scenario: host step $step: the session ended: $(cat "$dir"/*.session.err)" >&2; return 1; }
  [ "$status" = 0x0 ] && status=0
  echo "$status" >"$dir/$step.status"
}

# scenario_session_end: closes the session's input; it writes the variables
# back and ends, with 0 or 1 (a step failed, as steps may), or 2 when it
# could not run.
scenario_session_end() {
  [ -n "$SCENARIO_HOST_PID" ] || return 0
  local pid=$SCENARIO_HOST_PID status=0
  exec {SCENARIO_HOST_IN}>&- {SCENARIO_HOST_OUT}<&-
  SCENARIO_HOST_PID='' SCENARIO_HOST_IN='' SCENARIO_HOST_OUT=''
  wait "$pid" || status=$?
  [ "$status" -le 1 ] || { echo "scenario: the host session ended with $status" >&2; return 1; }
}

# scenario_nsh BOOT: the Shell script of one boot. Each tool step is framed
# by a marker with its number and one with the Shell's %lasterror%.
scenario_nsh() {
  local boot=$1 i quiet=0
  for i in "${!SCENARIO_KIND[@]}"; do
    [ "${SCENARIO_BOOT[$i]}" = "$boot" ] || continue
    case ${SCENARIO_KIND[$i]} in
      shell) echo "${SCENARIO_TEXT[$i]}" ;;
      tool)
        # Shell lines only before the first tool step; from there on the
        # transcript holds the tool's lines and the markers alone.
        [ "$quiet" = 1 ] || echo "echo -off"
        quiet=1
        echo "echo $SCENARIO_STEP_MARK ${SCENARIO_STEP[$i]}"
        echo "bioscfg-tool.efi ${SCENARIO_TEXT[$i]}"
        echo "echo $SCENARIO_EXIT_MARK %lasterror%"
        ;;
    esac
  done
  echo "echo $SCENARIO_END_MARK"
}

# scenario_split TRANSCRIPT DIR: the lines between a step's two markers
# into DIR/N.out, its %lasterror% (0 or the status) into DIR/N.status.
# Shell prompts and image messages, were any left, are not the tool's.
scenario_split() {
  awk -v dir="$2" -v step_mark="$SCENARIO_STEP_MARK" -v exit_mark="$SCENARIO_EXIT_MARK" '
    $1 == step_mark && NF == 2 { out = dir "/" $2 ".out"; status = dir "/" $2 ".status"; printf "" > out; next }
    $1 == exit_mark && out != "" { print ($2 ~ /^0x0+$/ ? 0 : $2) > status; close(out); close(status); out = ""; next }
    out == "" { next }
    /^(Shell|FS[0-9]+:.*)> / || /^Image \x27/ { next }
    { print > out }
  ' "$1"
}

# scenario_firmware BUILD DIR HOST: a new machine with the images and the
# edited INI files on its tools volume; one boot per boot line, then the INI
# files read back from the volume into DIR/files.
scenario_firmware() {
  local build=$1 dir=$2 host=$3 boot name
  rm -rf "$dir" && mkdir -p "$dir/files" || return 1
  qemu_init "$dir/machine" || return 1
  qemu_put tools "$build/bioscfg.efi" "$build/bioscfg.str" "$build/iniparse.efi" \
    "$build/hiiprovider.efi" "$build/bioscfg-tool.efi" || return 1
  for name in $(scenario_edited_files); do
    qemu_put tools "$host/files/$name" || return 1
  done
  SCENARIO_BOOT_SECONDS=()
  for boot in "${SCENARIO_BOOTS[@]}"; do
    scenario_nsh "$boot" >"$dir/$boot.nsh"
    qemu_boot "$dir/$boot.nsh" "$boot" || return 1
    SCENARIO_BOOT_SECONDS+=("$QEMU_LAST_SECONDS")
    grep -q "^$SCENARIO_END_MARK\$" "$dir/machine/$boot.txt" ||
      { qemu_fail "boot '$boot' stopped before the end of its script"; return 1; }
    scenario_split "$dir/machine/$boot.txt" "$dir"
  done
  for name in $(mdir -b -i "$QEMU_WORK/tools.img" ::/tools | sed -n 's|.*/||; /\.ini$/p; /\.vars$/p'); do
    qemu_get "tools/$name" "$dir/files/$name" || return 1
  done
  # What capture steps wrote: the folder's two files.
  for name in $(scenario_captured_folders); do
    mkdir -p "$dir/files/$name" || return 1
    qemu_get "tools/$name/hii.bin" "$dir/files/$name/hii.bin" || return 1
    qemu_get "tools/$name/variables.txt" "$dir/files/$name/variables.txt" || return 1
  done
}

# A tool step's command line, for messages.
scenario_step_text() {
  local i
  for i in "${!SCENARIO_KIND[@]}"; do
    [ "${SCENARIO_KIND[$i]}" = tool ] && [ "${SCENARIO_STEP[$i]}" = "$1" ] && { echo "${SCENARIO_TEXT[$i]}"; return; }
  done
}

# scenario_compare FIRMWARE HOST: per step the same lines and the same
# success or failure; the same INI files, byte for byte. 0 when all agree.
scenario_compare() {
  local firmware=$1 host=$2 step failed=0 fw_status host_status name
  for ((step = 1; step <= SCENARIO_TOOL_STEPS; step++)); do
    local what="step $step: bioscfg-tool $(scenario_step_text "$step")"
    if [ ! -f "$firmware/$step.status" ]; then
      echo "qemu: FAIL $what: no output on firmware" >&2; failed=1; continue
    fi
    fw_status=$(cat "$firmware/$step.status") host_status=$(cat "$host/$step.status")
    if ! diff -u --label host --label firmware "$host/$step.out" "$firmware/$step.out" >"$firmware/$step.diff"; then
      echo "qemu: FAIL $what: the lines differ from the host's:" >&2
      cat "$firmware/$step.diff" >&2
      failed=1
    elif [ "$([ "$fw_status" = 0 ]; echo $?)" != "$([ "$host_status" = 0 ]; echo $?)" ]; then
      echo "qemu: FAIL $what: ends with $fw_status on firmware, $host_status on the host" >&2
      failed=1
    else
      echo "qemu: ok   $what: $(wc -l <"$firmware/$step.out") lines as on the host$([ "$fw_status" = 0 ] || echo ", failing ($fw_status)")"
    fi
  done
  local fw_names host_names
  # The files read back from firmware are the INI files, the snapshots and
  # what capture wrote; the host folder may also hold the tool's scratch file.
  fw_names=$(cd "$firmware/files" && find . -type f | grep -E '\.(ini|vars)$|/(hii\.bin|variables\.txt)$' | sort)
  host_names=$(cd "$host/files" && find . -type f | grep -E '\.(ini|vars)$|/(hii\.bin|variables\.txt)$' | sort)
  if [ "$fw_names" != "$host_names" ]; then
    echo "qemu: FAIL the files differ: firmware has" $fw_names "; the host has" $host_names >&2
    failed=1
  fi
  for name in $host_names; do
    [ -f "$firmware/files/$name" ] || continue
    if cmp -s "$firmware/files/$name" "$host/files/$name"; then
      echo "qemu: ok   $name: $(stat -c %s "$host/files/$name") bytes, the same as on the host"
    else
      echo "qemu: FAIL $name differs from the host's:" >&2
      diff -u --label host --label firmware "$host/files/$name" "$firmware/files/$name" | head -40 >&2
      failed=1
    fi
  done
  return $failed
}

# scenario_check_expects DIR: every expect line against its step's output.
scenario_check_expects() {
  local dir=$1 i step failed=0
  for i in "${!SCENARIO_KIND[@]}"; do
    [ "${SCENARIO_KIND[$i]}" = expect ] || continue
    step=${SCENARIO_STEP[$i]}
    if grep -Eq -- "${SCENARIO_TEXT[$i]}" "$dir/$step.out" 2>/dev/null; then
      echo "qemu: ok   step $step shows /${SCENARIO_TEXT[$i]}/"
    else
      echo "qemu: FAIL step $step (bioscfg-tool $(scenario_step_text "$step")) has no line /${SCENARIO_TEXT[$i]}/" >&2
      failed=1
    fi
  done
  return $failed
}

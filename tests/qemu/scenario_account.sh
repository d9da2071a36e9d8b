# scenario_account.sh: a short, readable account of a scenario run, from
# the tool's lines of each step (a run folder of scenario_lib.sh, firmware
# or host). Sourced after scenario_lib.sh; scenario_read first.
#
#   scenario_account DIR

# One step's lines, made readable: get records as "Prompt = value (text)",
# set records with what became of them, list as a count, the rest as printed.
scenario_account_step() {
  local command=$1 out=$2
  awk -v command="$command" '
    function field(name,   at, rest) {
      at = index($0, " " name "=")
      if (!at) return ""
      rest = substr($0, at + length(name) + 2)
      if (substr(rest, 1, 1) == "\"") { match(rest, /^"([^"\\]|\\.)*"/); return substr(rest, 2, RLENGTH - 2) }
      match(rest, /^[^ ]*/)
      return substr(rest, 1, RLENGTH)
    }
    function option_text(value,   options, at, rest) {
      # options= is the last field; its texts may hold blanks.
      at = index($0, " options=")
      if (!at) return ""
      options = "," substr($0, at + 9)
      at = index(options, "," value "=\"")
      if (!at) return ""
      rest = substr(options, at + length(value) + 3)
      return substr(rest, 1, index(rest, "\"") - 1)
    }
    BEGIN { split("not applied,applied,rejected", set_status, ","); form_command = command ~ /^set-form / }
    /^section: / { sections++; next }
    /^question: / { questions++; next }
    /^record: found=1 / { v = field("value"); t = option_text(v); printf "    %-32s = %s%s\n", field("prompt"), v, t == "" ? "" : " (" t ")"; next }
    /^record: found=0 / { printf "    %-32s   not shown: suppressed, hidden or absent\n", field("prompt"); next }
    /^record: status=/ {
      records++
      if (form_command && records == 1) { printf "    form %s: %s\n", field("prompt"), field("status") == 0 ? "not found" : "found"; next }
      printf "    %-32s <- %s: %s\n", field("prompt"), field("value"), set_status[field("status") + 1]
      next
    }
    /^result: EFI_SUCCESS$/ && command !~ /^(get|list)/ { print "    done"; next }
    /^result: EFI_SUCCESS$/ { next }
    { print "    " $0 }
    END { if (questions) printf "    %d questions in %d sections, with their values and options\n", questions, sections }
  ' "$out"
}

# A saved INI file: its first block, or with EARLIER (a file saved before
# it) the lines that changed since.
scenario_account_ini() {
  local file=$1 earlier=$2
  [ -f "$file" ] || return 0
  local size="$(basename "$file"): $(wc -l <"$file") lines, $(grep -c '^\[' "$file") sections"
  if [ -z "$earlier" ]; then
    echo "    $size; its first block:"
    sed -n '/^\[BIOS::MAIN\]/,/^$/p' "$file" | sed -e '/^$/d' -e 's/^/      | /'
    return 0
  fi
  echo "    $size; changed since $(basename "$earlier"):"
  { diff "$earlier" "$file" || true; } | sed -n -e 's/^> \(.*[^ ]\) *;Options:.*/      | \1/p' -e 's/^> \([^;]*\)$/      | \1/p'
}

scenario_account() {
  local dir=$1 i step first_saved=''
  for i in "${!SCENARIO_KIND[@]}"; do
    case ${SCENARIO_KIND[$i]} in
      phase) printf '\n%s\n' "${SCENARIO_TEXT[$i]}" ;;
      tool)
        step=${SCENARIO_STEP[$i]}
        echo "  > bioscfg-tool ${SCENARIO_TEXT[$i]}"
        scenario_account_step "${SCENARIO_TEXT[$i]}" "$dir/$step.out"
        scenario_words "${SCENARIO_TEXT[$i]}"
        if [ "${SCENARIO_WORDS[0]}" = save ]; then
          scenario_account_ini "$dir/files/${SCENARIO_WORDS[1]}" "$first_saved"
          first_saved=${first_saved:-$dir/files/${SCENARIO_WORDS[1]}}
        fi
        ;;
      edit)
        scenario_words "${SCENARIO_TEXT[$i]}"
        echo "  ${SCENARIO_WORDS[1]}: ${SCENARIO_WORDS[0]} as edited on the host"
        local edit line='' separator=' '
        for edit in "${SCENARIO_WORDS[@]:2}"; do
          case $edit in
            '['*) [ -n "$line" ] && echo "    $line"; line=$edit separator=' ' ;;
            *) line+="$separator$edit" separator=', ' ;;
          esac
        done
        echo "    $line"
        ;;
    esac
  done
  return 0
}

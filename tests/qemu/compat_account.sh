# compat_account.sh: a short account of a run of compat.sh (the driver on
# plain OVMF through hiicompat.efi), from its two transcripts. Sourced after
# scenario_account.sh, whose step formatting it uses.
#
#   compat_account WORK

# The tool steps of one transcript: "COMMAND<TAB>FILE" per step, each FILE
# holding the step's output lines.
compat_account_steps() {
  local transcript=$1 dir=$2
  awk -v dir="$dir" '
    /^FS1:\\tools\\> bioscfg-tool\.efi / { n++; file = dir "/step" n; cmd = $0; sub(/^FS1:\\tools\\> bioscfg-tool\.efi /, "", cmd); print cmd "\t" file; printf "" > file; next }
    /^FS1:\\tools\\> / || /^Shell> / { file = ""; next }
    file != "" { print >> file }
  ' "$transcript"
}

compat_account_boot() {
  local transcript=$1 dir=$2
  mkdir -p "$dir"
  while IFS=$'\t' read -r command file; do
    echo "  bioscfg-tool $command"
    scenario_account_step "$command" "$file"
  done < <(compat_account_steps "$transcript" "$dir")
}

compat_account() {
  local work=$1
  echo "  hiicompat.efi, loaded first, says what it carries over from OVMF's HII database:"
  sed -n 's/^hiicompat: /    /p' "$work/first.txt"
  compat_account_boot "$work/first.txt" "$work/account/first"
  echo "  -- reset --"
  echo "  dmpstore, without hiicompat or the driver: the variable OVMF's platform driver keeps"
  sed -n '/^Variable .*PlatformConfig/{p;n;p}' "$work/second.txt" | sed 's/^ */    /'
  compat_account_boot "$work/second.txt" "$work/account/second"
}

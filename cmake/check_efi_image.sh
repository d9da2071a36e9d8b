#!/bin/sh
# Fails when a linked UEFI image (ELF before conversion) has undefined
# symbols or relocations other than R_X86_64_RELATIVE: gnu-efi's
# self-relocation silently skips every other type, and the firmware has no
# dynamic linker to resolve a missing symbol.
so="$1"
undefined=$(nm -u "$so")
if [ -n "$undefined" ]; then
  echo "$so: undefined symbols:" >&2
  echo "$undefined" >&2
  exit 1
fi
bad=$(readelf -rW "$so" | awk '/^[0-9a-f]+ +[0-9a-f]+ +R_X86_64_/ && $3 != "R_X86_64_RELATIVE" { print }')
if [ -n "$bad" ]; then
  echo "$so: relocations gnu-efi cannot apply:" >&2
  echo "$bad" >&2
  exit 1
fi
exit 0

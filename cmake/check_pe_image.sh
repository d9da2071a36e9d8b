#!/bin/sh
# Checks that a converted image is PE32+ with the expected UEFI subsystem
# (10 application, 11 boot-service driver).
image="$1"; want="$2"
headers=$(objdump -p "$image") || exit 1
echo "$headers" | grep -q 'Magic[[:space:]]*020b' || { echo "$image: not PE32+" >&2; exit 1; }
got=$(echo "$headers" | awk '/^Subsystem/ { print $2 }')
[ "$((0x$got))" -eq "$want" ] || { echo "$image: subsystem $((0x$got)), expected $want" >&2; exit 1; }
echo "$image: PE32+, subsystem $want"

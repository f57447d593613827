#!/usr/bin/env bash
# check_elf.sh READELF OBJDUMP FILE [WITHOUT…]: fails when the program or library FILE lacks a protection of
# cmake/QaiHardening.cmake, and says which. WITHOUT is the name of one that there is no place for: `checked` where no
# function of the C library is called that has a checked variant.
set -euo pipefail
readelf=$1 objdump=$2 file=$3
without=" ${*:4} "
failures=0

# lacks NAME WHAT
lacks() {
  [[ $without == *" $1 "* ]] && return
  echo "${file##*/} lacks: $2"
  failures=1
}

segments=$("$readelf" -hlW "$file")
dynamic=$("$readelf" -dW "$file")
symbols=$("$readelf" -W --dyn-syms "$file")

grep -q GNU_RELRO <<<"$segments" || lacks relro "a table of addresses that is read-only (-z relro)"
grep -qE '\((FLAGS|FLAGS_1)\).*NOW' <<<"$dynamic" || lacks now "addresses that are found before anything runs (-z now)"
grep -qE 'GNU_STACK .* RW +0x' <<<"$segments" || lacks stack "a stack that nothing on it can be run (-z noexecstack)"
grep -q 'Type: *DYN' <<<"$segments" || lacks pie "an address of its own in each process (-fPIE, -pie)"
grep -q ' __stack_chk_fail' <<<"$symbols" || lacks protector "a guard before return addresses (-fstack-protector-strong)"
grep -qE ' __[a-z_]+_chk\b' <<<"$symbols" || lacks checked "checked functions of the C library (-D_FORTIFY_SOURCE)"

# The linker's own mark is no help: it stands only where all of the C library's start-up code has it. So the code: main,
# or else what the library exports, each begins with the landing place of an indirect call.
entry() {
  { echo "$symbols" && "$readelf" -W --symbols "$file"; } | awk -v main="$(grep -c ' INTERP ' <<<"$segments")" '
    $4 == "FUNC" && $5 == "GLOBAL" && $7 ~ /^[0-9]+$/ && (!main || $8 == "main") && !found++ { print "0x" $2 }'
}
# Other processors have other means.
if grep -q 'Machine:.*X86-64' <<<"$segments"; then
  address=$(entry)
  "$objdump" -d --start-address="$address" --stop-address=$((address + 4)) "$file" | grep -q endbr64 ||
    lacks control "landing places for indirect calls (-fcf-protection)"
fi
exit "$failures"

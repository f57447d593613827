#!/usr/bin/env bash
# check_elf_falls.sh COMPILER READELF OBJDUMP: fails unless check_elf.sh passes a program that is built with every
# protection and refuses one for each that is taken away, with the reason.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
compiler=$1
shift
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cat >"$folder/program.cpp" <<'END'
#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
  char text[16];
  std::strcpy(text, argv[argc - 1]);
  std::puts(text);
}
END
protections=(-O2 -fPIE -pie -fstack-protector-strong -fcf-protection -D_FORTIFY_SOURCE=2
  "-Wl,-z,relro,-z,now,-z,noexecstack")

# What is taken away, and what is said then.
changes=(
  "-Wl,-z,norelro" "-z relro"
  "-Wl,-z,lazy" "-z now"
  "-Wl,-z,execstack" "-z noexecstack"
  "-fno-PIE -no-pie" "-pie"
  "-fno-stack-protector" "-fstack-protector-strong"
  "-U_FORTIFY_SOURCE" "-D_FORTIFY_SOURCE"
  "-fcf-protection=none" "-fcf-protection"
)
failures=0
# build FLAG…: what protects, and behind it FLAG.
build() { "$compiler" -w "${protections[@]}" "$@" "$folder/program.cpp" -o "$folder/program"; }
build
"$here/check_elf.sh" "$@" "$folder/program" || failures=1
for ((i = 0; i < ${#changes[@]}; i += 2)); do
  read -ra flags <<<"${changes[i]}"
  build "${flags[@]}"
  if output=$("$here/check_elf.sh" "$@" "$folder/program") || [[ $output != *[\(\ ]"${changes[i + 1]})"* ]] ||
    [ "$(wc -l <<<"$output")" -ne 1 ]; then
    echo "with ${changes[i]} it passes, or not with this reason alone:"
    echo "$output"
    failures=1
  fi
done
# A library's code is looked for where its first export is.
build -shared -fPIC -fcf-protection=none
if "$here/check_elf.sh" "$@" "$folder/program" >"$folder/output" || ! grep -q -- -fcf-protection "$folder/output"; then
  echo "a library without -fcf-protection passes"
  failures=1
fi
exit "$failures"

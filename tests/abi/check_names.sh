#!/usr/bin/env bash
# check_names.sh CLANG DOCUMENT OBJDUMP LIBRARY INCLUDE…: fails unless DOCUMENT lists, in blocks of code, the names by
# which the exports are found: those that LIBRARY has, as GCC spells them, and those that hosts of Microsoft's compiler
# look for, as clang spells them for that target; these and no others.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clang=$1 document=$2 objdump=$3 library=$4
shift 4

# gcc_names: from the table of a DLL's exports, or from an ELF library's symbols.
gcc_names() {
  if [[ $library == *.dll ]]; then
    "$objdump" -p "$library" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/.*[[:space:]]\(_Z[^[:space:]]*\)$/\1/p'
  else
    "$objdump" -T "$library" | sed -n '/\*UND\*/!s/.*[[:space:]]\(_Z[^[:space:]]*\)$/\1/p'
  fi
}

microsoft_names() {
  "$clang" --target=x86_64-pc-windows-msvc -std=c++20 -nostdinc -isystem "$here/standard_headers" "${@/#/-I}" -S -o - \
    "$here/names_probe.cpp" | sed -n 's/.*"__imp_\(?[^"]*\)".*/\1/p'
}

# compare COMPILER BEGINNING NAMES: the lines of the document that begin so, and what there is.
compare() {
  local names
  names=$(LC_ALL=C sort -u <<<"$3")
  [ "$(wc -l <<<"$names")" = 6 ] || { echo "there are six exports, and of $1 these were found: $names"; exit 1; }
  diff <(sed -n "s/^    \($2\)/\1/p" "$document" | LC_ALL=C sort) - <<<"$names" ||
    { echo "What $document lists ('<') is not what $1 calls the exports ('>')."; exit 1; }
}

compare GCC _Z "$(gcc_names)"
compare "Microsoft's compiler" '?' "$(microsoft_names "$@")"

#!/usr/bin/env bash
# check_equivalents_falls.sh SOURCES: rows that are no mutants and one without a reason are seen, what is right is not.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/src" "$folder/cf" "$folder/tools/test"
cp "$1/tools/test/mutants.awk" "$folder/tools/test"
printf 'bool isLess(int a, int b) {\n  return a < b;\n}\n' >"$folder/src/less.cpp"

# passes ROW…
passes() {
  printf '# What follows is a row.\n\n%s\n' "$(printf '%s\n' "$@")" >"$folder/list"
  "$(dirname "$0")/check_equivalents.sh" "$folder" "$folder/list" >/dev/null
}
right=('  - return a < b;' '  + return a <= b;')

passes src/less.cpp "${right[@]}" '  because it is a sample'
! passes src/less.cpp "${right[@]}" || { echo "a row without a reason passed" && exit 1; }
! passes src/more.cpp "${right[@]}" '  because x' || { echo "a row of another file passed" && exit 1; }
! passes src/less.cpp '  - return a < b;' '  + return a != b;' '  because x' || { echo "no mutant passed" && exit 1; }

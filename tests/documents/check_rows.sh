#!/usr/bin/env bash
# check_rows.sh SOURCES ROWS TESTS: fails unless each command of the documents in SOURCES has its row in the file ROWS, each
# row its command, and what the rows name exists: CTest's tests, as a CTestTestfile.cmake in the folder TESTS names them,
# and the lines of .ci/steps.
set -euo pipefail
rows=$(realpath "$2") tests=$(realpath "$3")
here=$(realpath "$(dirname "$0")")
cd "$1"
# shellcheck source=tests/documents/documents.sh
. "$here/documents.sh"
row_file=${2##*/}
complaints=()

complain() { complaints+=("$*"); }

# has_line FILE LINE: whether a line of FILE ends with LINE, comments apart.
has_line() {
  sed -E 's/(^|[[:space:]])#.*//; s/[[:space:]]+$//' "$1" |
    LINE=$2 awk '{ rest = length($0) - length(ENVIRON["LINE"]) }
      rest >= 0 && substr($0, rest + 1) == ENVIRON["LINE"] && (rest == 0 || substr($0, rest, 1) == " ") { found = 1 }
      END { exit !found }'
}

check_row() {
  local command=$1 at="$row_file:${row_line[$1]}: \`$1\`" kind rest
  kind=${how[$command]%% *}
  rest=${how[$command]#"$kind"}
  rest=${rest# }
  [ -n "${seen[$command]-}" ] || complain "$at is in no document; take the row out"
  case $kind in
    test) grep -qxF -- "$rest" <<<"$names" || complain "$at: there is no test \"$rest\" (ctest -N lists them)" ;;
    ci) has_line .ci/steps "$rest" || complain "$at: .ci/steps has no line \"$rest\"" ;;
    here | clone) [ -z "$rest" ] || complain "$at: nothing stands behind \"$kind\"" ;;
    not) [[ $rest == *' '* ]] || complain "$at: say why it is not run" ;;
    *) complain "$at: \"$kind\" is no way to run a command; the first lines of $row_file list the ways" ;;
  esac
}

read_rows "$rows"
names=$(ctest --test-dir "$tests" -N 2>/dev/null | sed -n 's/^ *Test *#[0-9]*: //p')
commands=$(list_commands)
declare -A seen
while IFS=$'\t' read -r document line _ kind text; do
  [ "$kind" = '$' ] || continue
  seen[$text]=1
  [ -n "${how[$text]-}" ] || complain "$document:$line: \`$text\` has no row in tests/documents/$row_file, which says how it is run"
done <<<"$commands"
for command in "${!how[@]}"; do check_row "$command"; done
[ ${#complaints[@]} -eq 0 ] && exit
printf '%s\n' "${complaints[@]}" | sort -V
exit 1

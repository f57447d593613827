#!/usr/bin/env bash
# check_names_falls.sh CLANG DOCUMENT OBJDUMP LIBRARY INCLUDE…: fails unless check_names.sh refuses each of these changes
# to a copy of DOCUMENT.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clang=$1 document=$2
shift 2
copy=$(mktemp)
trap 'rm -f "$copy"' EXIT

changes=(
  "a name is gone" '/^    _Z13QAIFreeObject/d'
  "another is gone" '/^    ?QAIFreeObject/d'
  "an argument is another" '/^    ?QAICreateAssistant/s/PEAVICSHTTPPoolCenter/PEAVIQAIObject/'
  "an argument of another type" '/^    _Z18QAICreateAssistant/s/P17ICSHTTPPoolCenter/P10IQAIObject/'
  "a name is one too many" '/^    ?QAIFreeObject/p;s/^\(    ?\)QAIFree/\1QAILose/'
)
failures=0
for ((i = 0; i < ${#changes[@]}; i += 2)); do
  sed "${changes[i + 1]}" "$document" >"$copy"
  if cmp -s "$document" "$copy"; then
    echo "'${changes[i]}' changes nothing: its pattern is not in $document any more"
    failures=1
  elif "$here/check_names.sh" "$clang" "$copy" "$@" >/dev/null; then
    echo "'${changes[i]}' passes"
    failures=1
  fi
done
exit "$failures"

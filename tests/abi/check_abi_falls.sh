#!/usr/bin/env bash
# check_abi_falls.sh DESCRIPTION LIBRARY: fails unless check_abi.sh refuses LIBRARY, which is libcf, beside each of
# these changes to a copy of its DESCRIPTION.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
copy=$(mktemp --suffix .xml)
trap 'rm -f "$copy"' EXIT

changes=(
  "an export is gone" 's/_Z8cfIsUTF8/_Z8cfWasUTF8/'
  "settings are larger" "/name='CMRestGlobalSettings'/s/size-in-bits='[0-9]*'/size-in-bits='64'/"
  "a field lies elsewhere" "s/layout-offset-in-bits='448'/layout-offset-in-bits='416'/"
  "a field has another type" "/name='lowSpeedBytes'/s/type-id='[^']*'/type-id='4a30a7f0'/"
  "a table is in another order" "s/vtable-offset='3'/vtable-offset='4'/"
  "a type's code is another" "/name='Double'/s/value='5'/value='4'/"
)
failures=0
for ((i = 0; i < ${#changes[@]}; i += 2)); do
  sed "${changes[i + 1]}" "$1" >"$copy"
  if cmp -s "$1" "$copy"; then
    echo "'${changes[i]}' changes nothing: its pattern is not in $1 any more"
    failures=1
  elif output=$("$here/check_abi.sh" "$copy" "$2" 2>&1) || [[ $output != *"built against"* ]]; then
    echo "'${changes[i]}' passes, or not with the reason:"
    echo "$output"
    failures=1
  fi
done
exit "$failures"

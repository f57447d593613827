#!/usr/bin/env bash
# check_manifests.sh PROJECT PORT: fails unless these manifests for vcpkg have the form of manifest.schema.json, and unless
# each of the changes below would be found.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
copy=$(mktemp --suffix .json)
trap 'rm -f "$copy"' EXIT

# holds FILE CHANGE: whether FILE, so changed, has the form. A release fills in the version.
holds() {
  sed -e 's/@VERSION@/0.1.0/' -e "$2" "$1" >"$copy"
  said=$(/usr/bin/python3 -m jsonschema --instance "$copy" "$here/manifest.schema.json" 2>&1)
}

failures=0
for manifest in "$1" "$2"; do
  holds "$manifest" '' || { printf '%s has not the form of a manifest:\n%s\n' "$manifest" "$said"; failures=1; }
done
changes=(
  "$1" 's/"features": \["ssl"\]/"feature": ["ssl"]/'
  "$1" 's/"builtin-baseline": "./&x/'
  "$1" '/"builtin-baseline"/d'
  "$1" 's/"platform": "windows"/"platform": "window"/'
  "$1" 's/"rapidjson"/"RapidJSON"/'
  "$1" '/"description": "the tests/d'
  "$1" 's/"fts5"/"fts4"/'
  "$2" '/"version"/d'
  "$2" 's/"host": true/"host": "true"/'
  "$2" 's/"supports": "(windows/&,/'
  "$2" 's/"license": null,/&,/'
)
for ((i = 0; i < ${#changes[@]}; i += 2)); do
  if ! sed "${changes[i + 1]}" "${changes[i]}" | cmp -s - "${changes[i]}"; then
    ! holds "${changes[i]}" "${changes[i + 1]}" || { echo "${changes[i]}: ${changes[i + 1]} passes"; failures=1; }
  else
    echo "'${changes[i + 1]}' changes nothing: its pattern is not in ${changes[i]} any more"
    failures=1
  fi
done
exit "$failures"

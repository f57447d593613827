#!/usr/bin/env bash
# check_abi.sh DESCRIPTION LIBRARY: fails unless LIBRARY, which has debug information, still has the binary interface
# that DESCRIPTION was made of.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
now=$(mktemp --suffix .xml)
trap 'rm -f "$now"' EXIT
"$here/describe_abi.sh" "$2" "$now"

status=0
abidiff --no-show-locs --harmless "$1" "$now" || status=$?
[ "$status" -eq 0 ] && exit
library=$(basename "$2") description=$(basename "$1")
if ((status & 3)); then
  echo "abidiff could not compare $library with $description."
elif ((status & 8)); then
  echo "$library no longer fits what was built against it: hosts would call what is gone or read what lies elsewhere."
  echo "Undo that; or raise the major version (docs/versioning.md) and run tools/update_abi in the same commit."
else
  echo "$library has another binary interface than $description says, which hosts were built against."
  echo "If docs/versioning.md allows the change, run tools/update_abi in the same commit."
fi
exit 1

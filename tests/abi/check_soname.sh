#!/usr/bin/env bash
# check_soname.sh READELF LIBRARY FILE NAME: fails unless the file of LIBRARY is called FILE, and hosts that link it ask
# for NAME.
set -euo pipefail
soname=$("$1" --dynamic "$2" | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p')
if [ "$(basename "$2")" != "$3" ] || [ "$soname" != "$4" ]; then
  echo "$2 has the name '$soname', and should be $3 with the name '$4'."
  echo "Under another name hosts do not find it; under an old one they would find what does not fit them."
  exit 1
fi

#!/usr/bin/env bash
# check_ascii.sh FOLDER…: fails where a file in the folders holds a character beyond ASCII, and names the place. That it
# finds one is seen in a file of its own first.
set -euo pipefail
beyond() { LC_ALL=C grep -rn $'[\x80-\xff]' "$@"; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
printf 'one\ntw\303\266\n' >"$folder/sample.h"
[[ $(beyond "$folder") == "$folder/sample.h:2:"* ]] || { echo "The check finds nothing in a file that has such a character."; exit 1; }
if beyond "$@"; then exit 1; fi

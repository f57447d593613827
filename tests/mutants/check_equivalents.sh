#!/usr/bin/env bash
# check_equivalents.sh SOURCES [LIST]: fails when a row of the list of equivalent mutants, tests/mutants/equivalent.txt,
# is no mutant of the code as it stands, or has no reason.
set -euo pipefail
cd "$1"
mapfile -t files < <(find src cf -name '*.cpp' -o -name '*.h')
awk '
  FILENAME != list {
    split($0, part, "\t")
    sub(/^ */, "", part[3])
    sub(/^ */, "", part[4])
    known[part[1] "\n  - " part[3] "\n  + " part[4]] = 1
    next
  }
  /^#/ { next }
  /^[^ ]/ { row = $0 }
  /^  [-+] / { row = row "\n" $0 }
  /^  because ..*/ { because = 1 }
  /^$/ { look() }
  function look() {
    if (row != "" && !(row in known && because)) {
      print "is no mutant, or has no reason:\n" row
      failed = 1
    }
    row = because = ""
  }
  END { look(); exit failed }
' list="${2:-tests/mutants/equivalent.txt}" <(awk -f tools/test/mutants.awk "${files[@]}") "${2:-tests/mutants/equivalent.txt}"

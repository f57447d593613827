#!/usr/bin/env bash
# check_suppressions.sh FOLDER: fails when a comment in a C++ file there silences a check without naming it or without
# saying why. What was built there and hidden folders are left out.
set -euo pipefail

check='[a-zA-Z][a-zA-Z0-9.-]*'
reason='.*[a-z]{2,}.*[a-z]{2,}'
tidy="// NOLINT(NEXTLINE|BEGIN)?\\($check(,$check)*\\): $reason|// NOLINTEND\\($check(,$check)*\\)$"
cppcheck="// cppcheck-suppress $check ; $reason"

cd "$1"
strays=$(grep -rnE --exclude-dir='.?*' --exclude-dir=build --include='*.cpp' --include='*.h' --include='*.hpp' \
  'NOLINT|cppcheck-suppress' . | grep -vE "$tidy|$cppcheck" || true)
[ -z "$strays" ] && exit
echo "These silence a check without its name or without the reason:"
echo "$strays"
exit 1

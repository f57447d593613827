#!/usr/bin/env bash
# check_suppressions_falls.sh: fails unless check_suppressions.sh refuses each of the wrong lines, and none of the others.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
folder=$(mktemp -d)
file=$folder/some.cpp
trap 'rm -rf "$folder"' EXIT

wrong=(
  'f();  // NOLINT'
  'f();  // NOLINT: the signature is given'
  'f();  // NOLINT(cert-err58-cpp)'
  'f();  // NOLINT(cert-err58-cpp): '
  'f();  // NOLINT(): the signature is given'
  'f();  // NOLINT(*): the signature is given'
  '// NOLINTNEXTLINE'
  '// NOLINTBEGIN(cert-err58-cpp,performance-*)'
  '// NOLINTEND'
  '// cppcheck-suppress invalidLifetime'
  '// cppcheck-suppress invalidLifetime ; x'
)
right=(
  'f();  // NOLINT(cert-err58-cpp): the signature is given'
  '// NOLINTNEXTLINE(cert-err58-cpp,clang-analyzer-cplusplus.Move): the signature is given'
  '// NOLINTBEGIN(cert-err58-cpp): the signature is given'
  '// NOLINTEND(cert-err58-cpp)'
  '// cppcheck-suppress invalidLifetime ; the signature is given'
  'f();'
)

failures=0
for line in "${wrong[@]}"; do
  echo "$line" >"$file"
  if "$here/check_suppressions.sh" "$folder" >/dev/null; then
    echo "passes: $line"
    failures=1
  fi
done
for line in "${right[@]}"; do
  echo "$line" >"$file"
  "$here/check_suppressions.sh" "$folder" || failures=1
done
exit "$failures"

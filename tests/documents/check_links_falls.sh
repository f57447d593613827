#!/usr/bin/env bash
# check_links_falls.sh: fails unless check_links.sh refuses each of the dead links, and none of the others.
# shellcheck disable=SC2016  # these backticks are Markdown's
set -euo pipefail
here=$(realpath "$(dirname "$0")")
around=$(mktemp -d)
trap 'rm -rf "$around"' EXIT
folder=$around/folder
mkdir -p "$folder/docs/deep"
printf '# Guide\n\n## What `it` does\n\n## Twice\n\n## Twice\n' >"$folder/docs/guide.md"
: >"$folder/docs/picture.svg"
: >"$around/outside.md"

dead=(
  'a [word](missing.md)'
  'a [word](docs/missing.md "title")'
  '![a picture](docs/missing.svg)'
  '| in a table | [word](missing.md) |'
  'two: [one](docs/guide.md), [two](missing.md)'
  '[a word]: missing.md'
  '<img src="missing.svg">'
  'a [word](docs/guide.md#missing)'
  'a [word](docs/guide.md#guide-1)'
  'a [word](#missing)'
  'a [word](docs/picture.svg#missing)'
  'a [word](../outside.md)'
  'a [word](/docs/guide.md)'
)
alive=(
  'a [word](docs/guide.md), a [`second`](docs/guide.md#guide)'
  'a [word](docs/guide.md#what-it-does) of [two](docs/guide.md#twice-1)'
  'a [word](docs), a [word](docs/deep/)'
  'a [word](docs/deep/../guide.md "title")'
  'a [word](#page)'
  '![a picture](docs/picture.svg)'
  '<img src="docs/picture.svg">'
  '[a word]: docs/guide.md'
  'a [word](https://example.org/missing.md), [mail](mailto:libqai@example.org)'
  '`[argv](missing)` is code'
  '    [argv](missing) is code'
)

failures=0
check() { printf '# Page\n\n%s\n' "$1" >"$folder/README.md" && "$here/check_links.sh" "$folder" >/dev/null; }
for line in "${dead[@]}"; do
  ! check "$line" || { echo "passes: $line"; failures=$((failures + 1)); }
done
for line in "${alive[@]}"; do
  check "$line" || { echo "is refused: $line"; failures=$((failures + 1)); }
done
! "$here/check_links.sh" "$folder/docs/deep" 2>/dev/null || { echo "passes: a folder without documents"; failures=1; }
[ "$failures" -eq 0 ]

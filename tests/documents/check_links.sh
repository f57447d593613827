#!/usr/bin/env bash
# check_links.sh FOLDER: fails when a link in a Markdown file in FOLDER, to a file or a heading, leads nowhere or out of
# FOLDER. What was built there and hidden folders are left out.
set -euo pipefail
here=$(realpath "$(dirname "$0")")
cd "$1"
mapfile -t documents < <(find . \( -path ./build -o -name '.?*' \) -prune -o -name '*.md' -printf '%P\n' | sort)
[ ${#documents[@]} -gt 0 ] || { echo "there are no documents in $PWD" >&2; exit 1; }
found=$(awk -f "$here/../../docs/slug.awk" -f "$here/links.awk" "${documents[@]}")

declare -A headings
failures=0
while IFS=$'\t' read -r what document _ name; do
  [ "$what" != heading ] || headings[$document#$name]=1
done <<<"$found"

# fault DOCUMENT ADDRESS: says what is wrong with the link.
fault() {
  local file=${2%%#*} heading="" target
  [[ $2 != *'#'* ]] || heading=${2#*#}
  target=$1
  [ -z "$file" ] || target=$(realpath -m --relative-to=. "$(dirname "$1")/$file")
  if [[ $file == /* || $target == ../* ]]; then
    echo "leads out of the folder"
  elif [ ! -e "$target" ]; then
    echo "leads to no file"
  elif [[ $2 == *'#'* && -z ${headings[$target#$heading]-} ]]; then
    echo "leads to no heading"
  fi
}

while IFS=$'\t' read -r what document line address; do
  [[ $what == link && ! $address =~ ^[a-z][a-z0-9+.-]*: ]] || continue
  reason=$(fault "$document" "$address")
  [ -n "$reason" ] || continue
  printf '%s:%s: the link to "%s" %s\n' "$document" "$line" "$address" "$reason"
  failures=$((failures + 1))
done <<<"$found"
[ "$failures" -eq 0 ]

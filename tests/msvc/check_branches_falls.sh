#!/usr/bin/env bash
# check_branches_falls.sh SOURCES: fails unless check_branches.sh refuses each of these changes to a copy of the project.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sources=$(realpath "$1")
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
for entry in "$sources"/*; do [ "${entry##*/}" = build ] || cp -R "$entry" "$copy"; done

# The file, the change, and what is to be said.
changes=(
  cmake/QaiTarget.cmake 's/^  if(MSVC)/  if(MSVC AND QAI_NEVER)/' 'cmake/QaiTarget.cmake:'
  cmake/QaiTarget.cmake 's/^  if(MSVC)/  if(QAI_NEVER)\n  elseif(MSVC AND QAI_NEVER)/' 'cmake/QaiTarget.cmake:'
  examples/CMakeLists.txt 's/^  if(MSVC)/  if(NOT MSVC)\n  else()\n  if(QAI_NEVER)/; s/^endforeach/  endif()\n&/'
  'examples/CMakeLists.txt:'
  examples/CMakeLists.txt 's/^  if(MSVC)/&\n    no_such_command()/' 'cannot read the project'
  cmake/QaiTarget.cmake 's/PREFIX ""/PREFIX "" IMPORT_PREFIX lib/' 'no import library src/qai.lib'
)
failures=0
for ((i = 0; i < ${#changes[@]}; i += 3)); do
  file=${changes[i]}
  sed "${changes[i + 1]}" "$sources/$file" >"$copy/$file"
  if cmp -s "$sources/$file" "$copy/$file"; then
    echo "'${changes[i + 1]}' changes nothing: its pattern is not in $file any more"
    failures=1
  elif said=$("$here/check_branches.sh" "$copy" 2>&1) || [[ $said != *"${changes[i + 2]}"* ]]; then
    printf '%s: %s passes, or not with the reason:\n%s\n' "$file" "${changes[i + 1]}" "$said"
    failures=1
  fi
  cp "$sources/$file" "$copy/$file"
done
exit "$failures"

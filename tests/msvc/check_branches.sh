#!/usr/bin/env bash
# check_branches.sh SOURCES: fails unless CMake can read the project for Microsoft's compiler, runs there each line that is
# for Windows or that compiler, and makes the import libraries by the names that hosts ask for.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sources=$(realpath "$1")
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT

cmake -S "$sources" -B "$build" -G Ninja --trace --trace-redirect="$build/trace" -D CMAKE_BUILD_TYPE=Release \
  -D CMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -D CMAKE_PROJECT_INCLUDE="$here/machine.cmake" >"$build/log" 2>&1 ||
  { cat "$build/log"; echo "CMake cannot read the project for Microsoft's compiler."; exit 1; }
mapfile -t files < <(find "$sources" \( -path "$sources/build" -o -name '.?*' \) -prune -o \
  \( -name CMakeLists.txt -o -name '*.cmake' \) -print | sort)
said=$(awk -v ROOT="$sources" -f "$here/branches.awk" "$build/trace" "${files[@]}")
echo "$said"
[[ $said != *"was not run"* ]] || exit 1
[[ $said != "0 lines" ]] || { echo "no line is for that compiler, which cannot be"; exit 1; }
for library in src/qai cf/cf; do
  grep -q " $library\.lib " "$build/build.ninja" || { echo "there is no import library $library.lib"; exit 1; }
done

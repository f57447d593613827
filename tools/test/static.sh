# ./test --static: what is found without running what is built. clang's warnings over every C++ file that is built here,
# clang-tidy and cppcheck over what ships, the examples and the tests' helpers, clang-format over all, shellcheck, and
# what can be checked for Microsoft's compiler without it; all of them without a finding. What was looked through before
# is not looked through again: the first time takes minutes.

# files_named PATTERN…: the project's own files of these names.
files_named() {
  local pattern names=()
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find . \( -path ./build -o -name '.?*' \) -prune -o -type f \( "${names[@]:1}" \) -print
}

check_form() {
  say "Looking at the form of the sources …"
  clang-format --dry-run -Werror "${cxx_files[@]}" || fail "clang-format would write these in another way"
}

check_shell() {
  local scripts
  say "Asking shellcheck …"
  mapfile -t scripts < <(files_named '*.sh' && find . \( -path ./build -o -name '.?*' \) -prune -o -type f -print0 |
    xargs -0 awk 'FNR == 1 { if (/^#!.*sh$/ && FILENAME !~ /\.sh$/) print FILENAME; nextfile }')
  shellcheck .ci/run "${scripts[@]}" || fail "shellcheck found fault"
}

# The tests are not among them: cppcheck gives up on a file with a literal such as 500ms.
check_with_cppcheck() {
  local known=build/cppcheck
  say "Asking cppcheck …"
  mkdir -p "$known"
  # passedByValue doesn't know a parameter that is moved from; clang-tidy looks for the same and does.
  cppcheck --enable=warning,performance,portability --suppress=passedByValue --inline-suppr --error-exitcode=1 \
    --std=c++20 --language=c++ --quiet -j "$(nproc)" --cppcheck-build-dir="$known" \
    -I include -I cf/include -I src -I cf/src -I apps -I apps/chat -I apps/standin -I tests \
    src cf apps examples tests/support || fail "cppcheck found fault"
}

# CMake runs it beside the compiler, for the files that changed.
check_with_clang_tidy() {
  say "Asking clang-tidy …"
  if [ -d build/static ]; then
    find build/static -name '*.o' ! -newer .clang-tidy -delete # looked through by other rules
  fi
  build static
}

# What ./test runs too, and the form of vcpkg's manifests, which takes a library of Python's.
check_for_msvc() {
  say "Checking what is for Microsoft's compiler …"
  ctest --test-dir build/static --label-regex '^msvc$' --no-tests=error --output-on-failure ||
    fail "what is for Microsoft's compiler has a fault"
  tests/msvc/check_manifests.sh vcpkg.json ports/qai/vcpkg.json || fail "vcpkg would not take its manifests"
}

takes_none "$@"
install_packages "${run_packages[@]}" "${test_packages[@]}" "${static_packages[@]}"
mapfile -t cxx_files < <(files_named '*.cpp' '*.h' '*.hpp')
check_form
check_shell
check_with_cppcheck
check_with_clang_tidy
check_for_msvc
say "Nothing was found in ${#cxx_files[@]} C++ files and the scripts."

# ./test --coverage: which lines and branches of libqai and libcf the tests run, as text and as pages in build/coverage-report;
# fails when it is less than what was reached. docs/coverage.md tells what is left out and why.

# What was reached, in percent, rounded down. Raise them with what is added; 100 and 95 were aimed at.
line_limit=99
branch_limit=95

install_packages "${run_packages[@]}" "${test_packages[@]}" "${server_libraries[@]}" "${coverage_packages[@]}"
unpack_packages build/servers "${server_packages[@]}"
find build/coverage -name '*.gcda' -delete 2>/dev/null || true  # what earlier runs counted
run_tests coverage -R '_test(_[0-9])?$' "$@" # the programs; the others look at how the binaries are made, which here is different

report=build/coverage-report
mkdir -p "$report"
# A call may throw, and a value may be destroyed on the way out: such branches are the compiler's.
gcovr --root . --filter src/ --filter cf/ --object-directory build/coverage build/coverage \
  --exclude-throw-branches --exclude-unreachable-branches -j "$(nproc)" \
  --txt "$report/lines.txt" --html-details "$report/index.html" --json "$report/coverage.json" --print-summary \
  --fail-under-line "$line_limit" --fail-under-branch "$branch_limit" ||
  fail "fewer lines or branches are run than before; $report/index.html shows which are not"
gcovr --add-tracefile "$report/coverage.json" --root . --branches --txt "$report/branches.txt"
say "The pages begin at $report/index.html."

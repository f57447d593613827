# ./test --faults: the whole table of faults, each operation meeting each fault in every way; ./test itself takes one cell
# in seven. Takes minutes.

install_packages "${run_packages[@]}" "${test_packages[@]}"
export QAI_EVERY_FAULT=1
for preset in release asan-ubsan; do run_tests "$preset" --timeout 1800 -R '^faults_test' "$@"; done

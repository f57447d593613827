# ./test --allocation: lets every allocation of every operation fail, one after the other, once and for good; ./test
# itself takes a sample of them. A quarter of an hour on one idle core, nearly all of it with TLS: each of its points makes
# a connection anew, some nine thousand for a first turn. QAI_ALLOCATION_POINTS=N runs point N alone, for the debugger.

install_packages "${run_packages[@]}" "${test_packages[@]}"
export QAI_ALLOCATION_POINTS=${QAI_ALLOCATION_POINTS:-all}
build release
say "Testing with memory running out …"
build/release/tests/allocation/allocation_test --gtest_brief=1 "$@" || fail "memory that ran out did harm"

# ./test --allocation: lets every allocation of every operation fail, one after the other, once and for good; ./test
# itself takes a sample of them. Half an hour on one idle core, nearly all of it with TLS: each of its points makes a
# connection anew, some nine thousand for a first turn, and in the second program a process, as in the third, which runs
# qai-chat. For the debugger QAI_ALLOCATION_POINTS=N runs point N of the first and the third alone.

install_packages "${run_packages[@]}" "${test_packages[@]}"
export QAI_ALLOCATION_POINTS=${QAI_ALLOCATION_POINTS:-all}
build release
say "Testing with memory running out …"
for program in allocation_test cold_start_test program_shortage_test; do
  build/release/tests/allocation/$program --gtest_brief=1 "$@" || fail "memory that ran out did harm"
done

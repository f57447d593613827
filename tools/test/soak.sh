# ./test --soak [TURNS]: a hundred thousand turns of all services, a fifth of which fail; then as many over TLS. What
# the process holds is told after each thousand and must stay as it was after the first.
takes_number TURNS "$@"
install_packages "${run_packages[@]}" "${test_packages[@]}"
build release soak_test
say "Testing soak …"
GLIBC_TUNABLES=glibc.malloc.tcache_count=0 QAI_SOAK_TURNS=${1:-100000} \
  build/release/tests/soak/soak_test --gtest_brief=1 || fail "a test failed"

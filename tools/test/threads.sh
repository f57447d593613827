# ./test --threads [TURNS]: what docs/threads.md promises, under ThreadSanitizer, with a thousand turns of each of the sixteen
# assistants. Debian's libcurl and OpenSSL are not instrumented: of them it sees the calls of the C library alone.
takes_number TURNS "$@"
install_packages "${run_packages[@]}" "${test_packages[@]}"
build tsan threads_test
say "Testing threads …"
TSAN_OPTIONS=suppressions=tests/threads/tsan_suppressions.txt QAI_THREADS_TURNS=${1:-1000} \
  build/tsan/tests/threads/threads_test --gtest_brief=1 || fail "a test failed in tsan"

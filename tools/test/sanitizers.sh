# ./test --sanitizers: every test under AddressSanitizer and UBSan. Further arguments go to ctest.

install_packages "${run_packages[@]}" "${test_packages[@]}" "${server_libraries[@]}"
unpack_packages build/servers "${server_packages[@]}"
run_tests asan-ubsan "$@"

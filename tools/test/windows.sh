# ./test --windows: the Windows build, cross-compiled, under Wine.

install_packages "${run_packages[@]}" "${test_packages[@]}" "${windows_packages[@]}"
prepare_windows
run_tests windows "$@"

# ./test --windows: the Windows build, cross-compiled, under Wine.

# What the Windows build leaves out has its reason: how often each was given.
tell_skipped() {
  local reasons
  reasons=$(sed -n '/: Skipped\r\?$/{n;s/\r$//;p}' build/windows/Testing/Temporary/LastTest.log | sort | uniq -c)
  [ -z "$reasons" ] || printf 'Cases skipped, by reason:\n%s\n' "$reasons"
}

install_packages "${run_packages[@]}" "${test_packages[@]}" "${windows_packages[@]}"
prepare_windows
run_tests windows "$@"
tell_skipped

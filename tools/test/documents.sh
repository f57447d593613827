# ./test --documents: types what the documents tell people to type and what takes minutes (the rows "clone" in
# tests/documents/commands.txt), in a clone of what is committed, and compares what comes with what they show.

takes_none "$@"
install_packages "${run_packages[@]}" "${test_packages[@]}" "${release_packages[@]}" "${windows_packages[@]}"
prepare_windows
export QAI_WINDOWS_DEPS=${QAI_WINDOWS_DEPS:-$PWD/build/windows-deps} # a clone would build them anew
say "Typing what the documents say …"
tests/documents/run.sh clone . build/documents || fail "a document says what is not so"

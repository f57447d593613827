# ./test --mutants [COUNT [SEED]]: whether the unit and the contract tests see a fault: COUNT times, 150 unless it is
# given, one token of src/ or cf/ is replaced by another in a copy of the sources, in build/mutants. Which, SEED decides.
# A test must fail then, or not end; those that all tests pass are told. At least 95 % must be found. A mutant that does
# not compile doesn't count, nor does one that tests/mutants/equivalent.txt names with the reason why no test can see it.

killed_limit=95
copy=build/mutants/sources
built=build/mutants/built
equivalents=tests/mutants/equivalent.txt
folders=(tests/unit/cf tests/unit/qai tests/contract tests/unit/rest tests/unit/hpp)

# renew_copy: what differs gets a new time, a mutant that an earlier run left included.
renew_copy() {
  local file
  find . \( -path ./build -o -name '.?*' \) -prune -o -type f -print | while read -r file; do
    cmp -s "$file" "$copy/$file" && continue
    mkdir -p "$copy/${file%/*}"
    cp "$file" "$copy/$file"
  done
}

# Not optimised and without what only tells people something: a mutant is built in seconds. A changed library that is
# loaded needs no new program.
configure_copy() {
  cmake -S "$copy" -B "$built" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DQAI_HARDENING=OFF \
    -DQAI_WARNINGS_AS_ERRORS=OFF -DQAI_BUILD_APPS=OFF -DQAI_BUILD_EXAMPLES=OFF -DQAI_BUILD_DOCS=OFF \
    -DCMAKE_LINK_DEPENDS_NO_SHARED=ON >build/mutants.log 2>&1 ||
    build_failed "the copy could not be configured" build/mutants.log
}

build_copy() { ninja -C "$built" "${folders[@]/%//all}" >build/mutants.log 2>&1 </dev/null; }

test_copy() {
  local folder
  for folder in "${folders[@]}"; do
    # A mutant may take memory without end.
    (ulimit -v $((8 << 20)) && exec ctest --test-dir "$built/$folder" -j "$(nproc)" --timeout 60 \
      --stop-on-failure --output-on-failure) >build/mutants.log 2>&1 </dev/null || return 1
  done
}

# list_mutants SEED: those of what is built here, a line each.
list_mutants() {
  (
    cd "$copy" || exit
    find src cf \( -name '*.cpp' -o -name '*.h' \) ! -name '*_windows.*' ! -name '*_mingw.*' | sort |
      xargs awk -v seed="$1" -f tools/test/mutants.awk
  )
}

# told_mutant FILE BEFORE AFTER: as survivors and equivalents are told.
told_mutant() { printf '%s\n  - %s\n  + %s\n' "$1" "${2#"${2%%[! ]*}"}" "${3#"${3%%[! ]*}"}"; }

# is_equivalent FILE BEFORE AFTER: whether the list names it.
is_equivalent() {
  row=$(told_mutant "$1" "$2" "$3") awk -v RS= '
    index($0, ENVIRON["row"] "\n") == 1 { found = 1 }
    END { exit !found }' "$equivalents"
}

# put_mutant FILE NUMBER AFTER: take_mutant_back FILE undoes it. The copy alone counts: people may go on with their work.
put_mutant() {
  cp "$copy/$1" build/mutants/whole
  after=$3 awk -v number="$2" 'FNR == number { $0 = ENVIRON["after"] } { print }' build/mutants/whole >"$copy/$1"
}
take_mutant_back() { cp build/mutants/whole "$copy/$1"; }

# try_mutants COUNT: reads mutants, a line each, as mutants.awk tells them.
try_mutants() {
  local count=$1 tried=0 killed=0 broken=0 equivalent=0 file number before after
  while [ "$tried" -lt "$count" ] && IFS=$'\t' read -r file number before after; do
    if is_equivalent "$file" "$before" "$after"; then
      equivalent=$((equivalent + 1))
      continue
    fi
    put_mutant "$file" "$number" "$after"
    if ! build_copy; then
      broken=$((broken + 1))
    else
      tried=$((tried + 1))
      if test_copy; then told_mutant "$file:$number" "$before" "$after"; else killed=$((killed + 1)); fi
      say "$tried of $count: $killed found, $broken did not compile"
    fi
    take_mutant_back "$file"
  done
  echo "$killed of $tried mutants were found; $broken more did not compile, $equivalent are named as equivalent."
  [ "$tried" -gt 0 ] || fail "that shows nothing"
  [ $((100 * killed)) -ge $((killed_limit * tried)) ] || fail "that is less than $killed_limit %"
}

[ $# -le 2 ] || misused "takes COUNT and SEED, not $*"
takes_number COUNT "${@:1:1}"
takes_number SEED "${@:2:1}"
install_packages "${run_packages[@]}" "${test_packages[@]}"
mkdir -p "$copy"
renew_copy
[ -f "$built/build.ninja" ] || configure_copy
say "Building and testing the copy as it is …"
build_copy || build_failed "the copy could not be built" build/mutants.log
test_copy || fail "a test fails without a mutant; see build/mutants.log"
say "Testing ${1:-150} mutants …"
list_mutants "${2:-1}" >build/mutants/list
try_mutants "${1:-150}" <build/mutants/list

#!/usr/bin/env bash
# check_commands_falls.sh: fails unless check_rows.sh finds each way in which rows and documents can disagree, and run.sh
# each command that fails or says something else than is shown.
# shellcheck disable=SC2016  # these backticks are Markdown's
set -euo pipefail
here=$(realpath "$(dirname "$0")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/sources/.ci" "$folder/sources/apps/chat" "$folder/sources/docs/man" "$folder/sources/examples" \
  "$folder/tests" "$folder/build"
printf './test # all of it\n#./test --off\ntools/fresh ./test --slow\n' >"$folder/sources/.ci/steps"
printf 'add_test(some_test true)\n' >"$folder/tests/CTestTestfile.cmake"
echo 'CREATE TABLE t (id INTEGER);' >"$folder/sources/apps/chat/shop.sql"
cp "$here"/{run.sh,documents.sh,commands.awk} "$folder"
failures=0

# expect COMPLAINT CHECK…: that the check fails with these words, or passes when there are none.
expect() {
  local wanted=$1 complaint
  shift
  if complaint=$("$@" 2>&1); then
    [ -n "$wanted" ] || return 0
    complaint="it passes"
  elif [[ -n $wanted && $complaint == *"$wanted"* ]]; then
    return
  fi
  printf '%s\n%s\nThis was wanted: %s; but: %s\n\n' "$document" "$row" "${wanted:-passing}" "$complaint"
  failures=$((failures + 1))
}

# rows DOCUMENT COMMAND HOW WANTED [FILE]
rows() {
  local file=$folder/sources/${5:-docs/page.md}
  document=$1
  row=$2${3:+$'\n'    $3}
  rm -f "$folder"/sources/*/page.* "$folder"/sources/docs/man/*
  printf '%s\n' "$document" >"$file"
  printf '# Ways\n\n%s\n' "$row" >"$folder/commands.txt"
  expect "$4" "$here/check_rows.sh" "$folder/sources" "$folder/commands.txt" "$folder/tests"
}

# Where commands are found, each without a row.
for document in '    $ ls -l' $'```\n$ ls -l\n```' $'```sh\nls -l\n```' $'1. Do:\n\n    $ ls -l' $'    $ true\n    a\n    $ ls -l'; do
  rows "$document" ./test 'ci ./test' "docs/page.md:$(grep -n 'ls -l' <<<"$document" | cut -d: -f1): \`ls -l\` has no row"
done
for document in 'Type `./test --more`.' '| `./test --more` | a table |' '    ./test --more' $'Type `./test\n--more`.' \
  $'    $ ./test \\\n        --more'; do
  rows "$document" ./test 'ci ./test' 'docs/page.md:1: `./test --more` has no row'
done
rows 'Type `A=1 cmake --preset x`.' ./test 'ci ./test' '`A=1 cmake --preset x` has no row'
rows '.EX
qai\-chat \-\-help
.EE' ./test 'ci ./test' 'docs/man/page.1:2: `qai-chat --help` has no row' docs/man/page.1
rows '// Asks: page [ADDRESS]' ./test 'ci ./test' 'examples/page.cpp:1: `page [ADDRESS]` has no row' examples/page.cpp
rows '#   cmake -S x -B y' ./test 'ci ./test' '`cmake -S x -B y` has no row' examples/page.txt
rows '    > ./test --more' ./test 'ci ./test' '`./test --more` has no row'

# What is no command, and rows that hold.
test='Type `./test`.'
rows "$test"$'\n\n```cpp\n./test --more\n```\n\n`tools/setup.sh`, `qai-chat`, `./stairs.svg`' ./test 'ci ./test' ''
rows $'    $ ./test\n    $5 is what it says' ./test 'ci ./test' ''
rows "$test" ./test 'test some_test' ''
rows "$test" ./test here ''
rows "$test" ./test clone ''
rows "$test" ./test 'not is a reason' ''
rows '`./test --slow`' './test --slow' 'ci ./test --slow' ''

# Rows that don't.
rows 'Nothing.' ./test 'ci ./test' 'commands.txt:3: `./test` is in no document'
rows "$test" ./test 'test other_test' 'there is no test "other_test"'
rows "$test" ./test 'test some' 'there is no test "some"'
rows "$test" ./test 'ci ./test --off' '.ci/steps has no line "./test --off"'
rows "$test" ./test 'ci ./tes' '.ci/steps has no line'
rows "$test" ./test 'ci est' '.ci/steps has no line'
rows "$test" ./test not 'say why'
rows "$test" ./test 'not so' 'say why'
rows "$test" ./test 'maybe some_test' '"maybe" is no way'
rows "$test" ./test 'here and there' 'nothing stands behind'
rows "$test" ./test '' 'nothing says how `./test` is run'
rows "$test" $'./test\n./test' '' 'the line below a command'
rows "$test" $'./test\n    here\n./test' 'here' 'has a row already'
rows "$test" $'    here\n./test' 'here' 'there is no command above'

# runs BLOCK WANTED: with "here" for each of its commands.
runs() {
  document=$1 row=here
  printf '%s\n' "$document" >"$folder/sources/docs/page.md"
  sed -n 's/^    \$ \(.*\)/\1\n    here/p' <<<"$document" >"$folder/commands.txt"
  expect "$2" "$folder/run.sh" here "$folder/sources" "$folder/run" "$folder/build"
}

runs '    $ true' ''
runs '    $ false' '`false` ends with 1'
runs $'    $ true\n    $ missing_command' 'docs/page.md:2: `missing_command` ends with 127'
runs $'    $ echo one; echo two\n    one\n    two' ''
runs $'    $ echo one; echo two\n    two\n    one' 'and the document shows'
runs $'    $ seq 9\n    2\n    …\n    8' ''
runs $'    $ seq 9\n    2\n    8' 'and the document shows'
runs $'    $ seq 9\n    8\n    …\n    2' 'and the document shows'
runs $'    $ echo out of 64\n    out of …' ''
runs $'    $ echo a; echo; echo b\n    a\n\n    b' ''
runs $'    $ export A=1\n    $ test "$A" = 1' ''
runs $'    $ export A=1\n\nSo:\n\n    $ test "$A" = 1' 'ends with 1'
runs $'    $ (echo up; sleep 60) &\n    $ ls my.db apps/chat/shop.sql build/run' ''
runs '    $ true &' 'no word'

# What one document leaves to the next in the clone that they share, README before all others: what it built.
cat >"$folder/sources/README.md" <<'END'
    $ test ! -e build && mkdir -p build /opt/qai && touch build/kept left /opt/qai/left
    $ git tag v1.0.0 && echo >apps/chat/shop.sql && git -c user.name=a -c user.email=a@b.c commit --quiet --all -m a
END
cat >"$folder/sources/CONTRIBUTING.md" <<'END'
    $ test -e build/kept && test ! -e left && test ! -e /opt/qai
    $ test -z "$(git tag)" && test -s my.db && grep -q CREATE apps/chat/shop.sql
END
rm "$folder"/sources/docs/page.*
document="README.md and CONTRIBUTING.md" row=clone
sed -n 's/^    \$ \(.*\)/\1\n    clone/p' "$folder"/sources/*.md >"$folder/commands.txt"
git init --quiet "$folder/sources"
git -C "$folder/sources" add .
git -C "$folder/sources" -c user.name=a -c user.email=a@b.c commit --quiet -m a
expect '' "$folder/run.sh" clone "$folder/sources" "$folder/run"
mkdir -p "$folder/run/tree/build" # of a run that was broken off
expect '' "$folder/run.sh" clone "$folder/sources" "$folder/run"
[ "$failures" -eq 0 ]

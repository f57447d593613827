#!/usr/bin/env bash
# check_arguments.sh SOURCES CHAT: the scripts that people type answer a wrong argument with one sentence and exit 2,
# before they install or build anything; but ./run builds first, as the arguments are those of CHAT, the program qai-chat.
# tools/fresh says where it can make no root, and ends with 77.
set -euo pipefail
chat=$(realpath "$2")
cd "$1"
failed=0
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# answers CODE SENTENCE COMMAND…: whether the command ends with CODE and says one line, which has SENTENCE.
answers() {
  local code=$1 sentence=$2 said ended=0
  shift 2
  said=$("$@" 2>&1 </dev/null) || ended=$?
  [ "$ended" = "$code" ] && [ "$(wc -l <<<"$said")" = 1 ] && [[ $said == *"$sentence"* ]] && return
  printf '%s ended with %s and said: %s\n' "$*" "$ended" "$said"
  failed=1
}

answers 2 'there is no kind --sanitisers; there are' ./test --sanitisers
answers 2 'takes no arguments, not -R' ./test --static -R x
answers 2 'takes no arguments, not x' ./test --documents x
answers 2 'TURNS is a number from 1 on, not "0"' ./test --threads 0
answers 2 'TURNS is a number from 1 on, not "many"' ./test --soak many
answers 2 'TURNS is a number from 1 on, not "1 2"' ./test --soak 1 2
answers 2 'COUNT is a number from 1 on, not "all"' ./test --mutants all
answers 2 'SEED is a number from 1 on, not "0"' ./test --mutants 150 0
answers 2 'takes COUNT and SEED, not 1 2 3' ./test --mutants 1 2 3
answers 2 'usage: ./test --fuzz MINUTES' ./test --fuzz
answers 2 'usage: ./test --fuzz MINUTES' ./test --fuzz 0
answers 2 'QAI_FUZZ_JOBS must be a number' env QAI_FUZZ_JOBS=all ./test --fuzz 1
answers 2 'usage: ./bench [FILTER]' ./bench --filter
answers 2 'usage: ./bench [FILTER]' ./bench a b
answers 2 'usage: tools/release vX.Y.Z [--windows]' tools/release
answers 2 'usage: tools/release vX.Y.Z [--windows]' tools/release v1.2.3 --linux
answers 2 'takes no arguments, not cf' tools/update_abi cf
answers 2 'usage: tools/picture [FILE [COMMAND]]' tools/picture --help
answers 2 'usage: tools/picture [FILE [COMMAND]]' tools/picture a b c
answers 2 'usage: tools/windows/build_deps.sh PREFIX' tools/windows/build_deps.sh
answers 2 'usage: tools/windows/build_deps.sh PREFIX' tools/windows/build_deps.sh --help
answers 2 'usage: tools/windows/build_deps.sh PREFIX' tools/windows/build_deps.sh a b
answers 2 'takes no arguments, not --help' .ci/run --help
answers 2 'usage: tools/fresh [--user] COMMAND…' tools/fresh
answers 2 'usage: tools/fresh [--user] COMMAND…' tools/fresh --root ./test

# Where all is built.
built=$folder/built
mkdir -p "$built/build/run/apps/chat" "$built/programs"
ln -s "$PWD/run" "$PWD/tools" "$PWD/apps" "$built"
ln -s "$chat" "$built/build/run/apps/chat/qai-chat"
touch "$built/build/run/build.ninja"
sqlite3 -bail "$built/build/shop.db" <apps/chat/shop.sql
printf '#!/bin/sh\necho "no work to do"\n' >"$built/programs/ninja"
printf '#!/bin/sh\necho installed\n' >"$built/programs/dpkg-query"
chmod +x "$built/programs"/*
in_built=(env PATH="$built/programs:$PATH")
answers 2 'There is no option --foo' "${in_built[@]}" "$built/run" --foo
answers 2 'There is more after the QUESTION' "${in_built[@]}" "$built/run" Which tables
answers 66 "missing.json can't be read" "${in_built[@]}" "$built/run" --restore missing.json

# A system without apt-get, by a folder of programs that has none.
mkdir "$folder/few"
for program in bash basename dirname id; do ln -s "$(command -v $program)" "$folder/few"; done
answers 77 'no bare root can be made here: it takes a Debian' env PATH="$folder/few" tools/fresh ./test
exit $failed

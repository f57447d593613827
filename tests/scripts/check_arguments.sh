#!/usr/bin/env bash
# check_arguments.sh SOURCES: the scripts that people type answer a wrong argument with one sentence and exit 2, before
# they install or build anything; tools/fresh says where it can make no root, and ends with 77.
set -euo pipefail
cd "$1"
failed=0

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
answers 2 'usage: ./test --fuzz MINUTES' ./test --fuzz
answers 2 'usage: ./test --fuzz MINUTES' ./test --fuzz 0
answers 2 'QAI_FUZZ_JOBS must be a number' env QAI_FUZZ_JOBS=all ./test --fuzz 1
answers 2 'usage: ./bench [FILTER]' ./bench --filter
answers 2 'usage: ./bench [FILTER]' ./bench a b
answers 2 'usage: tools/release vX.Y.Z [--windows]' tools/release
answers 2 'usage: tools/release vX.Y.Z [--windows]' tools/release v1.2.3 --linux
answers 2 'takes no arguments, not cf' tools/update_abi cf
answers 2 'usage: tools/fresh [--user] COMMAND…' tools/fresh
answers 2 'usage: tools/fresh [--user] COMMAND…' tools/fresh --root ./test

# A system without apt-get, by a folder of programs that has none.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
for program in bash basename dirname id; do ln -s "$(command -v $program)" "$folder"; done
answers 77 'no bare root can be made here: it takes a Debian' env PATH="$folder" tools/fresh ./test
exit $failed

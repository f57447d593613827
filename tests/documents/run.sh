#!/usr/bin/env bash
# run.sh here|clone SOURCES FOLDER [BUILD]: runs the commands of the documents in SOURCES whose rows in commands.txt say
# "here" or "clone", in FOLDER. Ends with the first that fails or says something else than the document shows. For "here"
# BUILD is the build that they find. "clone" makes a clone, in which each document finds what those before it have built
# and nothing else of theirs; README comes first.
set -euo pipefail
way=$1
source=$(realpath "$2")
build=${4:+$(realpath "$4")}
here=$(realpath "$(dirname "$0")")
# shellcheck source=tests/documents/documents.sh
. "$here/documents.sh"
mkdir -p "$3"
folder=$(realpath "$3")
said=$folder/said

# clean_clone: makes the clone, or takes out of it what a document's commands have left, their builds apart.
clean_clone() {
  if [ -z "$committed" ]; then
    rm -rf tree
    git clone --quiet --no-tags "$source" tree
    committed=$(git -C tree rev-parse HEAD)
  else
    git -C tree checkout --quiet --force --detach "$committed"
    git -C tree clean --quiet -ffdx --exclude=/build
    git -C tree tag | xargs --no-run-if-empty git -C tree tag --delete >/dev/null
  fi
}

# make_tree: what the reader of a document has before him.
committed=""
make_tree() {
  local file preset
  cd "$folder"
  rm -rf opt
  if [ "$way" = clone ]; then
    clean_clone
  else
    rm -rf tree
    mkdir -p "$folder/tree/build"
    for file in "$source"/*; do [ "${file##*/}" = build ] || ln -s "$file" "$folder/tree"; done
    for preset in run release; do ln -s "$build" "$folder/tree/build/$preset"; done
  fi
  cd "$folder/tree"
  sqlite3 -bail my.db <apps/chat/shop.sql
  cp my.db shop.db
}

# A port that nobody listens on.
free_port() {
  local port=8080
  while (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done
  printf '%s' "$port"
}

# shows SHOWN: whether what was said has the lines that the document shows, with anything for "…".
shows() {
  local rest=$1 piece text
  text=$(<"$said")
  while [ -n "$rest" ]; do
    piece=${rest%%…*}
    [[ $text == *"$piece"* ]] || return 1
    text=${text#*"$piece"}
    [[ $rest == *…* ]] || return 0
    rest=${rest#*…}
  done
}

# run PLACE COMMAND SHOWN: in this shell, for what it sets is there for the next.
run() {
  local place=$1 text=$2 shown=$3 code=0 tenths
  text=${text//\/opt\/qai/$folder/opt/qai}
  text=${text//8080/$port}
  printf '%s: %s\n' "$place" "$text"
  : >"$said"
  eval "$text" </dev/null >"$said" 2>&1 || code=$?
  if [[ $text == *'&' ]]; then # it is up once it says something
    for ((tenths = 0; tenths < 300; tenths++)); do
      if [ -s "$said" ] || ! kill -0 $! 2>/dev/null; then break; fi
      sleep 0.1
    done
    [ -s "$said" ] || code="no word in half a minute"
  fi
  [ "$code" = 0 ] || fail "$(cat "$said")"$'\n'"$place: \`$text\` ends with $code"
  shows "$shown" || fail "$(cat "$said")"$'\n'"$place: that is what \`$text\` says, and the document shows"$'\n'"$shown"
}

# run_block DOCUMENT BLOCK: those commands of it that are to be run this way.
run_block() (
  set +u +o pipefail
  port=$(free_port)
  PATH=$PWD/build/run/apps/chat:$PWD/build/run/apps/standin:$PATH
  trap 'kill $(jobs -p) 2>/dev/null || true; wait' EXIT
  place="" command="" shown=""
  run_last() { [ "${how[$command]-}" != "$way" ] || run "$place" "$command" "$shown"; }
  while IFS=$'\t' read -r document line block kind text <&3; do
    [ "$document $block" = "$1 $2" ] || continue
    if [ "$kind" = '$' ]; then
      [ -z "$command" ] || run_last
      place=$document:$line command=$text shown=""
    else
      shown+=${shown:+$'\n'}$text
    fi
  done 3<<<"$commands"
  run_last
)

read_rows "$here/commands.txt"
cd "$source"
commands=$(list_commands)
# Without a key the stand-in answers.
unset OPENAI_API_KEY OPENAI_BASE_URL DEEPSEEK_API_KEY GEMINI_API_KEY GOOGLE_API_KEY QAI_API_KEY QAI_PROXY
document=""
while IFS=$'\t' read -r of _ block kind text <&4; do
  [[ $kind == '$' && ${how[$text]-} == "$way" ]] || continue
  if [ "$of" != "$document" ]; then
    document=$of
    done_blocks=" "
    make_tree
  fi
  [[ $done_blocks != *" $block "* ]] || continue
  done_blocks+="$block "
  run_block "$document" "$block" || exit 1
done 4<<<"$commands"
[ -n "$document" ] || fail "no row says \"$way\""
cd "$folder"
rm -rf tree opt

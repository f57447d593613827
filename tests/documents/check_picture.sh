#!/usr/bin/env bash
# check_picture.sh SOURCES CHAT: fails unless docs/terminal.svg in SOURCES is what CHAT, the program qai-chat, shows at a
# terminal today, times apart; and unless tools/picture draws text as a terminal shows it.
set -euo pipefail
chat=$(realpath "$2")
cd "$1"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
sqlite3 -bail "$folder/shop.db" <apps/chat/shop.sql
failed=0

# without_times FILE: the digits of a time change the width of its line, too.
without_times() { sed -E 's/textLength="[0-9.]+"([^>]*>[0-9]+ rows?, )[0-9]+ ms/\1 ms/' "$1"; }

tools/picture "$folder/now.svg" "$chat $folder/shop.db"
diff <(without_times docs/terminal.svg) <(without_times "$folder/now.svg") || {
  echo "docs/terminal.svg shows what is marked < and the program says what is marked >; tools/picture draws it anew"
  failed=1
}

# draws RECORDING PIECE…: whether each piece stands in what becomes of the recording, whose escapes are printf's.
draws() {
  local recording=$1 piece drawn
  shift
  # shellcheck disable=SC2059  # the format is the recording
  drawn=$(printf "$ question\r\n$recording" | LC_ALL=C awk -v columns=20 -f tools/picture.awk) || drawn="nothing"
  for piece in "$@"; do
    [[ $drawn != *"$piece"* ]] || continue
    printf 'Of %s is drawn: %s\nIt lacks: %s\n' "$recording" "$drawn" "$piece"
    failed=1
  done
}

draws 'a<b & c>d\r\n' '>a&lt;b &amp; c&gt;d<'
draws '3 s …\r\033[Kdone\r\n' 'y="46"' '>done<'
draws 'long line\rnew\r\n' '>newg line<'
draws '\033[1mbold\033[0m\r\n' '>bold<'
draws 'ä──  x\r\n' '<text x="16.00" y="46" textLength="25.29"' '<text x="58.15" y="46" textLength="8.43"'
draws '日本  x\r\n' '<text x="16.00" y="46" textLength="33.72"' '<text x="66.58" y="46" textLength="8.43"'
draws '' nothing
exit $failed

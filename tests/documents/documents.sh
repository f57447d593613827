# What the checks of the documents share; they source it in the folder of the sources.
# shellcheck disable=SC2034  # how and row_line are for those who source this

fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# list_documents: all that tells people to type something, README first. The changelog tells of what was.
list_documents() {
  find . \( -path ./build -o -name '.?*' \) -prune -o \
    \( -name '*.md' ! -path ./CHANGELOG.md -o -path './docs/man/*.1' -o -path './examples/*' -type f \) -printf '%P\n' |
    sed 's/^README\.md$/ &/' | LC_ALL=C sort | sed 's/^ //'
}

# list_commands: what commands.awk says of all documents.
list_commands() {
  local documents
  mapfile -t documents < <(list_documents)
  [ ${#documents[@]} -gt 0 ] || fail "there are no documents in $PWD"
  awk -f "$(dirname "${BASH_SOURCE[0]}")/commands.awk" "${documents[@]}"
}

# read_rows FILE: how[COMMAND] is how it is run, row_line[COMMAND] the line of its row.
declare -A how row_line
read_rows() {
  local line number=0 command=""
  while IFS= read -r line; do
    number=$((number + 1))
    case $line in
      '' | '#'*) ;;
      '    '*)
        [ -n "$command" ] || fail "$1:$number: there is no command above this line"
        how[$command]=${line#    }
        command=""
        ;;
      *)
        [ -z "$command" ] || fail "$1:$number: the line below a command, indented by four, says how it is run"
        [ -z "${row_line[$line]-}" ] || fail "$1:$number: \`$line\` has a row already, in line ${row_line[$line]}"
        command=$line
        row_line[$command]=$number
        ;;
    esac
  done <"$1"
  [ -z "$command" ] || fail "$1: nothing says how \`$command\` is run"
}

# Takes links and headings out of Markdown, read behind docs/slug.awk. Prints a line for each, with tabs between: "link", the
# document, the line, where it leads to; "heading", the document, the line, the name by which a link finds it.

function emit(what, text) { print what "\t" FILENAME "\t" FNR "\t" text }

# links(TEXT): [words](address), [words](address "title"), [name]: address, and HTML's.
function links(text,   address) {
  gsub(/`[^`]*`/, "", text)
  while (match(text, /\]\([^)]*\)|^ ? ? ?\[[^\]]+\]: *[^ ]+|(href|src)="[^"]*"/)) {
    address = substr(text, RSTART, RLENGTH)
    text = substr(text, RSTART + RLENGTH)
    sub(/^\]\(<?|^ *\[[^\]]+\]: *<?|^(href|src)="/, "", address)
    sub(/>?( +"[^"]*")?\)$|>$|"$/, "", address)
    emit("link", address)
  }
}

FNR == 1 {
  fenced = indented = 0
  before = ""
  split("", used)
}

/^ ? ? ?```/ { fenced = !fenced; before = ""; next }
fenced { next }
/^    / && (indented || before == "") { indented = 1; next }

{
  before = $0
  if (/^ *$/) next
  indented = 0
  if (match($0, /^#+ +/)) {
    name = slug(substr($0, RLENGTH + 1))
    emit("heading", used[name]++ ? name "-" used[name] - 1 : name)
  }
  links($0)
}

# Takes the commands out of documents: Markdown, manual pages, and the comments of other files. Prints a line for each, with
# tabs between: the document, the line, the number of its block, "$" and the command; and the same with "|" for each line
# that the document shows as what the command says.
#
# A command is what follows "$ " or "> " in a block of code, and what looks like one there or between backticks. Blocks in
# another language than a shell's have none.

BEGIN {
  programs = "cmake|ctest|cpack|ninja|make|git|g\\+\\+|clang\\+\\+|clang-format|pkg-config|vcpkg|apt|apt-get|sudo|dpkg|docker|podman|" \
    "bash|sh|curl|openssl|ollama|llama-server|qai-chat|qai-standin|export|cd"
}

# A program of the project's is a command by itself, another one with its arguments.
function looks_like_command(text) {
  sub(/^([A-Z_]+=[^ ]+ +)+/, "", text)
  return text ~ /^(\.\/[a-z]+|\.ci\/run)( |$)/ || text ~ ("^(build/[^ ]+|tools/[^ ]+|" programs ") +[^ ]")
}

function emit(kind, text) { print FILENAME "\t" line "\t" block "\t" kind "\t" text }

# command(TEXT): a backslash at its end has the next line belong to it.
function command(text) {
  line = FNR
  while (text ~ /\\$/ && (getline rest) > 0) {
    sub(/^ +/, "", rest)
    text = substr(text, 1, length(text) - 1) rest
  }
  emit("$", text)
}

# inline(TEXT): what stands between backticks, each a block of its own.
function inline(text,   span) {
  while (match(text, /`[^`]+`/)) {
    span = substr(text, RSTART + 1, RLENGTH - 2)
    text = substr(text, RSTART + RLENGTH)
    if (looks_like_command(span)) {
      block++
      emit("$", span)
    }
  }
}

# code(TEXT): a line of a block. What is shown behind a command is what it says, up to the next.
function code(text) {
  if (text ~ /^[$>] +[^ ]/) {
    sub(/^[$>] +/, "", text)
    command(text)
    shows = 1
  } else if (shows) {
    for (; blank > 0; blank--) emit("|", "")
    emit("|", text)
  } else if (looks_like_command(text) || (shell && text ~ /^[^#]/)) {
    command(text)
  } else {
    line = FNR
    inline(text)
  }
  blank = 0
}

function begin_block() {
  block++
  shows = blank = 0
}

FNR == 1 {
  block = indented = fenced = shell = shows = blank = 0
  open = ""
  before = ""  # as after a blank line
  stem = FILENAME
  sub(/.*\//, "", stem)
  sub(/\.[a-z0-9]+$/, "", stem)
}

# A manual page: its examples.
FILENAME ~ /\.1$/ {
  if (/^\.EX/) {
    begin_block()
    fenced = 1
  } else if (/^\.EE/) {
    fenced = 0
  } else if (fenced) {
    gsub(/\\-/, "-")
    command($0)
  }
  next
}

# Sources: "// What it does: name ARGUMENT…" with the file's own name, and what a comment gives as a line of its own.
FILENAME !~ /\.md$/ {
  if (!/^ *(\/\/|#)/) next
  sub(/^ *(\/\/+|#+) */, "")
  line = FNR
  if (match($0, ": " stem " [[A-Z]")) {
    block++
    emit("$", substr($0, RSTART + 2))
  } else if (looks_like_command($0)) {
    block++
    command($0)
  } else {
    inline($0)
  }
  next
}

/^ ? ? ?```/ {
  fenced = !fenced
  shell = fenced && /```(sh|bash|shell|console)/
  foreign = fenced && !shell && !/```$/
  indented = 0
  before = ""
  if (fenced) begin_block()
  next
}

fenced {
  if (foreign) next
  if (/^$/) blank++
  else code($0)
  next
}

/^    / && (indented || before == "") {
  if (!indented) begin_block()
  indented = 1
  code(substr($0, 5))
  next
}

{
  before = $0
  if (/^ *$/) {
    blank++
    open = ""
    next
  }
  indented = shell = 0
  # What stands between backticks may go on in the next line.
  if (open == "") line = FNR
  text = open $0
  if (gsub(/`/, "`", text) % 2) {
    open = text " "
  } else {
    open = ""
    inline(text)
  }
}

# branches.awk -v ROOT=FOLDER TRACE FILE…: prints each line of CMake's FILEs in FOLDER that is for Windows or Microsoft's
# compiler and that CMake, whose TRACE it is, did not run. "N lines" stands at the end: so many were looked for.

# The trace has the place of each command before it.
FILENAME == ARGV[1] {
  if (index($0, ROOT "/") == 1 && match($0, /\([0-9]+\):/)) {
    place = substr($0, length(ROOT) + 2, RSTART + RLENGTH - length(ROOT) - 4)
    sub(/\(/, ":", place)
    ran[place] = 1
    sub(/:.*/, "", place)
    read_files[place] = 1
  }
  next
}

FNR == 1 {
  path = substr(FILENAME, length(ROOT) + 2)
  depth = open = left = 0
}

# value(WORD): of a name in a condition: 1 or 0 for that compiler, else "" for what is not known here.
function value(word) {
  if (word ~ /^(MSVC|WIN32|CMAKE_HOST_WIN32)$/) return 1
  if (word ~ /^(MINGW|UNIX)$/) return 0
  return ""
}

# holds(CONDITION): 1 when the branch is for that compiler, 0 when it is not, "" when it depends on something else.
# Of what is joined by AND the names above alone count.
function holds(condition,   words, count, i, negated, any, all, one, known) {
  if (condition ~ /[()]/) return ""
  any = 0
  all = 1
  known = 0
  negated = 0
  count = split(condition, words, /[ \t\n]+/)
  for (i = 1; i <= count; i++) {
    if (words[i] == "") continue
    if (words[i] == "NOT") { negated = 1; continue }
    if (words[i] == "OR") { any = either(any, known ? all : ""); all = 1; known = 0; continue }
    one = value(words[i])
    if (one != "") {
      known = 1
      all = all && (negated ? !one : one)
    }
    negated = 0
  }
  return either(any, known ? all : "")
}

function either(a, b) {
  if (a == 1 || b == 1) return 1
  return a == "" || b == "" ? "" : 0
}

# needed(): whether the line is for that compiler: some branch around it is, and none is not.
function needed(   i, some) {
  for (i = 1; i <= depth; i++) {
    if (branch[i] == "0") return 0
    if (branch[i] == "1") some = 1
  }
  return some
}

# What else is there of a chain, once CONDITION was asked: nothing behind one that holds.
function ask(condition,   one) {
  one = holds(condition)
  branch[depth] = taken[depth] == 1 ? 0 : one
  if (one == 1) taken[depth] = 1
  else if (one == "" && taken[depth] != 1) taken[depth] = ""
}

function command(name, arguments) {
  if (name == "if") {
    check(name)
    depth++
    taken[depth] = 0
    ask(arguments)
  } else if (name == "elseif") {
    ask(arguments)
  } else if (name == "else") {
    branch[depth] = taken[depth] == "" ? "" : !taken[depth]
  } else if (name == "endif") {
    depth--
  } else if (name !~ /^end/) {
    check(name)
    if (name == "return" && (path ":" start) in ran) left = 1
  }
}

# Behind the end of a file that CMake left, and in one that it had no reason to read, is nothing to be looked for.
function check(name) {
  if (left || !(path in read_files) || !needed()) return
  lines++
  if (!((path ":" start) in ran)) print path ":" start ": " name "() is for Microsoft's compiler and was not run"
}

{
  text = $0
  gsub(/\\./, "", text)
  gsub(/"[^"]*"/, "\"\"", text)
  sub(/#.*/, "", text)
  if (!open) {
    if (!match(text, /^[ \t]*[A-Za-z_]+\(/)) next
    name = tolower(substr(text, 1, RLENGTH - 1))
    gsub(/[ \t]/, "", name)
    start = FNR
    arguments = ""
    text = substr(text, RLENGTH + 1)
    open = 1
  }
  open += gsub(/\(/, "(", text) - gsub(/\)/, ")", text)
  arguments = arguments " " text
  if (open == 0) {
    sub(/\)[ \t]*$/, "", arguments)
    command(name, arguments)
  }
}

END { print lines + 0 " lines" }

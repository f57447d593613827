# mutants.awk [-v seed=N] FILE…: every mutant of these C++ files: one token replaced, or one assignment left out. Prints
# a line for each, with tabs between: the file, the line's number, the line as it is and as it becomes; in the order of
# the files, or in one that the seed decides. Comments, texts, characters, preprocessor lines and those that only make room
# stay as they are.

BEGIN {
  count = split("== != <= < >= > && || + - * / & | << >> += -= *= /= |= &= ++ -- true false", pairs, " ")
  for (i = 1; i < count; i += 2) {
    becomes[pairs[i]] = pairs[i + 1]
    becomes[pairs[i + 1]] = pairs[i]
  }
  becomes["<"] = "<="
  becomes[">"] = ">="
  becomes["%"] = "*"
}

# The token at `at`, `size` characters, becomes `token`.
function mutant(at, size, token) {
  line_of_mutant(substr($0, 1, at - 1) token substr($0, at + size))
}

function line_of_mutant(line) { mutants[++found] = FILENAME "\t" FNR "\t" $0 "\t" line }

# The form that formatted sources have tells an operator with two sides from what else its characters mean: it stands
# between blanks, or at a line's end.
function walk(    at, rest, token) {
  for (at = 1; at <= length($0); at += RLENGTH) {
    rest = substr($0, at)
    if (ending != "") {  # of a comment or a raw text
      if (!index(rest, ending)) return
      RLENGTH = index(rest, ending) + length(ending) - 1
      ending = ""
    } else if (rest ~ /^\/\//) {
      return
    } else if (match(rest, /^\/\*/)) {
      ending = "*/"
    } else if (match(rest, /^R"[^(]*\(/)) {
      ending = ")" substr(rest, 3, RLENGTH - 3) "\""
    } else if (match(rest, /^"([^"\\]|\\.)*"/) || match(rest, /^'([^'\\]|\\.)+'/)) {
      continue
    } else if (match(rest, /^[A-Za-z_][A-Za-z0-9_]*/)) {
      token = substr(rest, 1, RLENGTH)
      if (token == "true" || token == "false") mutant(at, RLENGTH, becomes[token])
    } else if (match(rest, /^[0-9][0-9A-Za-z_.']*/)) {
      token = substr(rest, 1, RLENGTH)
      if (token ~ /^(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlLzZ]*$/) mutant(at, RLENGTH, "(" token " + 1)")
    } else if (match(rest, /^ [-+*\/%&|<>=!]+( |$)/)) {
      token = substr(rest, 2)
      sub(/ .*/, "", token)
      RLENGTH = 1
      if (token in becomes) {
        mutant(at + 1, length(token), becomes[token])
        RLENGTH += length(token)
      }
    } else if (match(rest, /^(\+\+|--)/)) {
      mutant(at, 2, becomes[substr(rest, 1, 2)])
    } else if (match(rest, /^![A-Za-z_(]/)) {
      mutant(at, 1, "")
      RLENGTH = 1
    } else {
      RLENGTH = 1
    }
  }
}

FNR == 1 { ending = directive = "" }
directive != "" || (ending == "" && /^ *#/) {
  directive = /\\$/ ? "on" : ""
  next
}
ending == "" && /[.]reserve\(/ { next }
ending == "" && /^ *[A-Za-z_][][A-Za-z0-9_.>()*-]* = .*;$/ {
  match($0, /^ */)
  line_of_mutant(substr($0, 1, RLENGTH) ";")
}
{ walk() }

# A number from 1 to `most` (Park and Miller).
function number(most) {
  seed = seed * 16807 % 2147483647
  return 1 + seed % most
}

END {
  for (last = found; last > 0; --last) {
    chosen = seed ? number(last) : found - last + 1
    print mutants[chosen]
    if (seed) mutants[chosen] = mutants[last]
  }
}

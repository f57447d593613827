# Draws a recording of a terminal, COLUMNS wide, as SVG: its lines as they stand in the end. It knows what qai-chat
# writes: text, carriage returns, and sequences of ESC [, of which K wipes the rest of the line and the others show nothing.
# Bytes are counted, in the locale C.

BEGIN {
  cell = 8.43  # of the first font at this size; others are stretched to it
  margin = 16
  row = 20
}

function escaped(text) {
  gsub(/&/, "\\&amp;", text)
  gsub(/</, "\\&lt;", text)
  gsub(/>/, "\\&gt;", text)
  return text
}

# How many columns UTF-8 text takes: the characters from U+1100 on that terminals show in two are, but for signs such as
# lines and quotes, from U+3000 to U+D7FF and from U+10000 on.
function width(text) {
  gsub(/[\343-\355][\200-\277][\200-\277]|[\360-\364][\200-\277][\200-\277][\200-\277]/, "==", text)
  gsub(/[\200-\277]/, "", text)
  return length(text)
}

# A line of what came, with what was written over it.
function shown(line,    parts, count, i, text) {
  gsub(/\033\[[0-9;?]*[A-JL-Za-z]/, "", line)
  count = split(line, parts, "\r")
  text = ""
  for (i = 1; i <= count; i++) {
    if (gsub(/\033\[[0-9]*K/, "", parts[i])) text = ""
    text = parts[i] substr(text, length(parts[i]) + 1)
  }
  sub(/[ \t]+$/, "", text)
  return text
}

# What two blanks or more part stands in columns, and so each piece has its place.
function draw(line, y, colour,    column, piece) {
  column = 0
  while (match(line, /[^ ]+( [^ ]+)*/)) {
    column += RSTART - 1
    piece = substr(line, RSTART, RLENGTH)
    line = substr(line, RSTART + RLENGTH)
    printf "  <text x=\"%.2f\" y=\"%d\" textLength=\"%.2f\" fill=\"%s\">%s</text>\n", \
      margin + column * cell, y, width(piece) * cell, colour, escaped(piece)
    column += width(piece)
  }
}

{ lines[++count] = shown($0) }

END {
  while (count > 1 && lines[count] == "") count--
  if (count < 2) exit 1  # nothing but the question
  size = sprintf("%d %d", columns * cell + 2 * margin, row * count + margin + 4)
  split(size, sides, " ")
  printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %s\" width=\"%d\" height=\"%d\" role=\"img\"\n", size, \
    sides[1], sides[2]
  print "     font-family=\"'DejaVu Sans Mono', Menlo, Consolas, monospace\" font-size=\"14\">"
  print "  <title>A question to qai-chat at a terminal, the answer in SQL, and its rows</title>"
  printf "  <rect width=\"%d\" height=\"%d\" rx=\"8\" fill=\"#16202b\"/>\n", sides[1], sides[2]
  for (i = 1; i <= count; i++) {
    colour = "#d7dee6"
    if (lines[i] ~ /^\$ /) colour = "#8fd694"
    if (lines[i] ~ /^(qai-chat|Model): / || lines[i] ~ /^[0-9]+ rows?, /) colour = "#9fb0c0"
    draw(lines[i], 6 + row * i, colour)
  }
  print "</svg>"
}

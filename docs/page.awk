# Makes a page of the repository one of the site. Doxygen 1.9.4 neither gives headings the names that links use, nor
# knows that a folder has a page.
#
# Read behind slug.awk. A heading "Order of calls" of host-guide.md becomes "host-guide-order-of-calls", as does a link to it.

BEGIN {
  page = ARGV[1]
  sub(/.*\//, "", page)
  sub(/\.md$/, "", page)
  if (page ~ /^[0-9]/) page = "decision-" page  # a name begins with a letter
}

/^```/ { inCode = !inCode }

# The page's own name, for its address and for the list of decisions.
!inCode && /^# / && page != "README" { $0 = $0 " {#" page "}" }

!inCode && /^##+ / {
  title = $0
  sub(/^#+ /, "", title)
  $0 = $0 " {#" page "-" slug(title) "}"
}

!inCode {
  gsub(/\]\(docs\/decisions\/?\)/, "](decisions.md)")
  # The examples are no page: the words stay, the link goes.
  if (match($0, /\[[^\]]*\]\(examples\)/)) {
    words = substr($0, RSTART + 1, RLENGTH - length("[](examples)"))
    $0 = substr($0, 1, RSTART - 1) words substr($0, RSTART + RLENGTH)
  }
  # The words of a link to a heading are shown as they stand, with their backticks.
  while (match($0, /\[`[^`\]]*`\]\([^)]*#/)) {
    link = substr($0, RSTART, RLENGTH)
    gsub(/`/, "", link)
    $0 = substr($0, 1, RSTART - 1) link substr($0, RSTART + RLENGTH)
  }
  # "](path/page.md#heading)" becomes "](@ref page-heading)", and "](#heading)" names one of this page.
  while (match($0, /\]\(([A-Za-z0-9_.\/-]*\.md)?#[^)]*\)/)) {
    target = heading = substr($0, RSTART + 2, RLENGTH - 3)
    sub(/.*#/, "", heading)
    sub(/(\.md)?#.*/, "", target)
    sub(/.*\//, "", target)
    if (target == "") target = page
    $0 = substr($0, 1, RSTART - 1) "](@ref " target "-" heading ")" substr($0, RSTART + RLENGTH)
  }
}

{ print }

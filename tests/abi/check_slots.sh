#!/usr/bin/env bash
# check_slots.sh CLANG TARGET INCLUDE…: fails unless the interfaces of <qai.h> and <qai_extensions.h>, found in the
# folders INCLUDE, have the slots of contract.txt, and the extensions' record the layout of stream_options.h, under the
# C++ ABI of TARGET (x86_64-pc-linux-gnu: Itanium; x86_64-pc-windows-msvc: Microsoft).
#
# The two ABIs differ in this: Itanium gives a virtual destructor two entries, Microsoft one; Microsoft puts overloaded
# operations side by side, the last one first.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clang=$1 target=$2
shift 2

# What clang says of the interfaces, as contract.txt has it: the destructor's second entry is left out and not counted.
slots() {
  awk -v interface='' '
    /^VF?Table indices for .IQAI/ {
      split($0, part, "\47")
      interface = part[2]
      skipped = 0
      print "\n" interface
      next
    }
    /^$/ { interface = "" }
    interface == "" { next }
    / \[complete\]$/ { skipped = 1; next }
    {
      slot = $1 - skipped
      sub(/^ *[0-9]+ \| /, "")
      sub(/ \[(scalar )?deleting\]$/, "")
      sub(interface "::", "")
      print slot, $0
    }'
}

# Line by line behind the interface's name, since clang tells the interfaces in an order of its own.
sorted() {
  awk 'BEGIN { RS = ""; FS = "\n" } { gsub(/\n/, "\n" $1 " "); print }' | LC_ALL=C sort
}

layouts=$("$clang" "--target=$target" -std=c++20 -nostdinc -isystem "$here/standard_headers" "${@/#/-I}" \
  -S -emit-llvm -o /dev/null -Xclang -fdump-vtable-layouts "$here/slots_probe.cpp")
if ! diff <(grep -v '^#' "$here/contract.txt" | sorted) <(slots <<<"$layouts" | sorted); then
  echo "The interfaces are not those of tests/abi/contract.txt ('<') under the ABI of $target ('>')."
  echo "Hosts built earlier call an operation by the number of its slot: where one is added, moved, overloaded, changed"
  echo "or removed, they would call another operation, or none. What is new goes into an interface of its own."
  exit 1
fi

#!/usr/bin/env bash
# describe_abi.sh LIBRARY FILE: writes the binary interface of LIBRARY, which has debug information, to FILE: what its
# exported functions and the public headers say, and nothing of the machine. Identifiers are hashes, so that a small
# change makes a small difference.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
abidw --suppressions "$here/descriptions/suppressions.ini" --exported-interfaces-only --drop-private-types \
  --headers-dir "$root/include" --headers-dir "$root/cf/include" --no-show-locs --no-corpus-path --no-comp-dir-path \
  --no-elf-needed --no-write-default-sizes --no-parameter-names --type-id-style hash --out-file "$2" "$1"
# A source file's folder is the machine's as well.
sed -i "s|^\( *<abi-instr .*path='\)[^']*/|\1|" "$2"

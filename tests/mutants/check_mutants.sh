#!/usr/bin/env bash
# check_mutants.sh SOURCES: the mutants of sample.txt are those of sample_mutants.txt; a seed changes their order, always
# in the same way, and nothing else.
set -euo pipefail
cd "$1"
mutants() { awk "$@" -f tools/test/mutants.awk tests/mutants/sample.txt | cut -f 2,4; }

diff <(mutants) tests/mutants/sample_mutants.txt
diff <(mutants -v seed=7 | sort) <(sort tests/mutants/sample_mutants.txt)
diff <(mutants -v seed=7) <(mutants -v seed=7)
for seed in 7 8; do
  cmp -s <(mutants -v seed=$seed) <(mutants -v seed=$((seed - 7))) || continue
  echo "$seed is no other order than $((seed - 7))"
  exit 1
done

# ./test --fuzz MINUTES: fuzzes every target with clang's libFuzzer, AddressSanitizer and UBSan for MINUTES in all. What
# was learned stays in build/fuzz/corpus and is gone on from. QAI_FUZZ_JOBS targets at a time, as many as processors
# unless it is set; QAI_FUZZ_TARGETS names the targets ("json address") when not all are wanted.

# fuzz_dictionary TARGET: the words of its family.
fuzz_dictionary() {
  case $1 in
    session_*) echo fuzz/dictionaries/session ;;
    *_stream) echo fuzz/dictionaries/stream ;;
    turn_* | reply_* | failure) echo fuzz/dictionaries/json ;;
    sql*) echo fuzz/chat/dictionaries/sql ;;
    *) echo "fuzz/dictionaries/$1" ;;
  esac
}

# fuzz_folder TARGET: where its seeds and findings are.
fuzz_folder() {
  if [ -d "fuzz/chat/seeds/$1" ]; then echo fuzz/chat; else echo fuzz; fi
}

# fuzz_program TARGET
fuzz_program() {
  if [ "$(fuzz_folder "$1")" = fuzz/chat ]; then echo build/fuzz/fuzz/chat/qai_chat_fuzz; else echo build/fuzz/fuzz/qai_fuzz; fi
}

# fuzz_target TARGET SECONDS: the target's own output is in build/fuzz/logs/TARGET. Freed memory is kept from being used
# again for a while; the default of 256 MB only costs time.
fuzz_target() {
  local target=$1 log=build/fuzz/logs/$1 code=0 folder
  folder=$(fuzz_folder "$1")
  local inputs=("build/fuzz/corpus/$target" "$folder/seeds/$target")
  [ ! -d "$folder/crashes/$target" ] || inputs+=("$folder/crashes/$target")
  mkdir -p "${inputs[0]}" "build/fuzz/crashes/$target" build/fuzz/logs
  ASAN_OPTIONS=quarantine_size_mb=16 QAI_FUZZ_TARGET=$target \
    "$(fuzz_program "$target")" -max_total_time="$2" -max_len=4096 -timeout=20 -rss_limit_mb=1500 -print_funcs=0 \
    -dict="$(fuzz_dictionary "$target")" -artifact_prefix="build/fuzz/crashes/$target/" -print_final_stats=1 \
    "${inputs[@]}" >"$log" 2>&1 || code=$?
  printf '%-20s %12s executions%s\n' "$target" "$(fuzz_executions "$log")" "$([ $code -eq 0 ] || echo ', A FINDING')"
  [ $code -eq 0 ] || grep -E -m 4 '^(Broken|Seen|SUMMARY|.*runtime error)' "$log" | cut -c 1-200
  return $code
}

# A finding ends a target before libFuzzer sums up, but it tells the number with each step, too.
fuzz_executions() {
  sed -n -E 's/^stat::number_of_executed_units: *([0-9]+)$/\1/p; s/^#([0-9]+)[[:space:]].*/\1/p' "$1" | sort -n | tail -n 1
}

# fuzz_all MINUTES JOBS TARGET…
fuzz_all() {
  local minutes=$1 jobs=$2 seconds code=0 target
  shift 2
  for target in "$@"; do [ -d "$(fuzz_folder "$target")/seeds/$target" ] || misused "there is no target $target; see the folders seeds in fuzz"; done
  seconds=$((minutes * 60 * jobs / $#))
  [ "$seconds" -gt 0 ] || fail "$minutes minutes are too few for $# targets"
  say "Fuzzing $# targets for $seconds s each, $jobs at a time …"
  export -f fuzz_target fuzz_dictionary fuzz_folder fuzz_program fuzz_executions
  printf '%s\n' "$@" | xargs -P "$jobs" -I{} bash -c "fuzz_target {} $seconds" || code=$?
  for target in "$@"; do fuzz_executions "build/fuzz/logs/$target"; done |
    awk '{ sum += $1 } END { print sum " executions in all" }'
  [ $code -eq 0 ] || fail "what was found is in build/fuzz/crashes, each target's output in build/fuzz/logs; once it is mended, the input stays as crashes/TARGET/NAME beside the seeds"
}

[[ $* =~ ^[1-9][0-9]{0,4}$ ]] || misused "usage: ./test --fuzz MINUTES, a number from 1 on"
fuzz_jobs=${QAI_FUZZ_JOBS:-$(nproc)}
[[ $fuzz_jobs =~ ^[1-9][0-9]{0,3}$ ]] || misused "QAI_FUZZ_JOBS must be a number"
install_packages "${run_packages[@]}" "${fuzz_packages[@]}"
build fuzz qai_fuzz qai_chat_fuzz
read -r -a fuzz_targets <<<"${QAI_FUZZ_TARGETS:-$(cd fuzz/seeds && echo *) $(cd fuzz/chat/seeds && echo *)}"
fuzz_all "$1" "$fuzz_jobs" "${fuzz_targets[@]}"

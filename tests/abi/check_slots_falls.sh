#!/usr/bin/env bash
# check_slots_falls.sh CLANG QAI_H INCLUDE…: fails unless check_slots.sh refuses each of these changes to a copy of
# qai.h, under both ABIs and with the reason. The folders INCLUDE have the other headers.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clang=$1 header=$2
shift 2
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

# What is changed, and how.
changes=(
  "added at the end" '/ obtainSessionData()/a virtual void more() = 0;'
  "added in the middle" '/ setProperty(/i virtual void more() = 0;'
  "added before the destructor" '/virtual ~IQAIObject/i virtual void more() = 0;'
  "added to a base" 's/^class IQAIObject {/class Base { public: virtual void more() = 0; }; class IQAIObject : public Base {/'
  "swapped" 's/ obtainCreatedTime() / swapped() /; s/ obtainRole() / obtainCreatedTime() /; s/ swapped() / obtainRole() /'
  "overloaded" '/ obtainProperty(/a virtual CMVariant obtainProperty(std::string_view key) const = 0;'
  "overloaded at the end" '/ addMessage(/a virtual void addMessage(IQAISession* session) = 0;'
  "removed" '/ destroySession(/d'
  "no longer virtual" 's/virtual \(.*obtainText() const\) = 0;/\1 { return {}; }/'
  "another argument" 's/ loadSession(std::string data)/ loadSession(std::string_view data)/'
  "another result" 's/virtual std::uint32_t obtainRole/virtual std::int32_t obtainRole/'
)
reason='Hosts built earlier call an operation by the number of its slot'

failures=0
for ((i = 0; i < ${#changes[@]}; i += 2)); do
  sed "${changes[i + 1]}" "$header" >"$copy/qai.h"
  if cmp -s "$header" "$copy/qai.h"; then
    echo "'${changes[i]}' changes nothing: its pattern is not in $header any more"
    failures=1
  fi
  for target in x86_64-pc-linux-gnu x86_64-pc-windows-msvc; do
    status=0
    output=$("$here/check_slots.sh" "$clang" "$target" "$copy" "$@" 2>&1) || status=$?
    if [ "$status" -eq 0 ] || [[ $output != *"$reason"* ]]; then
      echo "an operation '${changes[i]}' passes for $target, or not with the reason:"
      echo "$output"
      failures=1
    fi
  done
done
exit "$failures"

#!/usr/bin/env bash
# check_slots_falls.sh CLANG INCLUDE CF_INCLUDE: fails unless check_slots.sh refuses each of these changes to a copy of
# the headers in INCLUDE, under both ABIs and with the reason.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clang=$1 headers=$2 cf_headers=$3
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

# What is changed, in which header, and how.
slots=(
  "added at the end" qai.h '/ obtainSessionData()/a virtual void more() = 0;'
  "added in the middle" qai.h '/ setProperty(/i virtual void more() = 0;'
  "added before the destructor" qai.h '/virtual ~IQAIObject/i virtual void more() = 0;'
  "added to a base" qai.h 's/^class IQAIObject {/class Base { public: virtual void more() = 0; }; class IQAIObject : public Base {/'
  "swapped" qai.h 's/ obtainCreatedTime() / swapped() /; s/ obtainRole() / obtainCreatedTime() /; s/ swapped() / obtainRole() /'
  "overloaded" qai.h '/ obtainProperty(/a virtual CMVariant obtainProperty(std::string_view key) const = 0;'
  "overloaded at the end" qai.h '/ addMessage(/a virtual void addMessage(IQAISession* session) = 0;'
  "removed" qai.h '/ destroySession(/d'
  "no longer virtual" qai.h 's/virtual \(.*obtainText() const\) = 0;/\1 { return {}; }/'
  "another argument" qai.h 's/ loadSession(std::string data)/ loadSession(std::string_view data)/'
  "another result" qai.h 's/virtual std::uint32_t obtainRole/virtual std::int32_t obtainRole/'
  "added at the end of an extension" qai_extensions.h '/ obtainRequestIdentifier() /a virtual void more() = 0;'
  "added at the beginning of one" qai_extensions.h '/ obtainFinishReason() /i virtual void more() = 0;'
  "swapped in one" qai_extensions.h 's/ obtainModel() / swapped() /; s/ obtainRefusal() / obtainModel() /; s/ swapped() / obtainRefusal() /'
  "another argument in one" qai_extensions.h 's/virtual\( .* addMessageStreaming(IQAISession\* session, std::string\)/virtual\1_view/'
  "the door's destructor" qai_extensions.h 's/^  ~IQAIExtensible/  virtual &/'
)
fields=(
  "at the beginning" qai_extensions.h '/ size = sizeof/i std::uint64_t more = 0;'
  "between others" qai_extensions.h '/ asksForUsage = /i std::uint32_t more = 0;'
  "in a gap" qai_extensions.h '/ asksForUsage = /a bool more = false;'
  "at the end" qai_extensions.h '/ stop = nullptr;/a std::uint64_t more = 0;'
  "removed" qai_extensions.h '/ mostTextBytes = /d'
  "swapped" qai_extensions.h 's/ idleTimeout = / swapped = /; s/ totalTimeout = / idleTimeout = /; s/ swapped = / totalTimeout = /'
  "of another size" qai_extensions.h 's/ bool asksForUsage = true/ std::uint32_t asksForUsage = 1/'
)
failures=0

# expect_refusals REASON WHAT HEADER CHANGE…: REASON is a part of what check_slots.sh says.
expect_refusals() {
  local reason=$1 target output status
  shift
  for (( ; $# > 0; )); do
    cp "$headers"/*.h "$copy"
    sed "$3" "$headers/$2" >"$copy/$2"
    if cmp -s "$headers/$2" "$copy/$2"; then
      echo "'$1' changes nothing: its pattern is not in $2 any more"
      failures=1
    fi
    for target in x86_64-pc-linux-gnu x86_64-pc-windows-msvc; do
      status=0
      output=$("$here/check_slots.sh" "$clang" "$target" "$copy" "$cf_headers" 2>&1) || status=$?
      if [ "$status" -eq 0 ] || [[ $output != *"$reason"* ]]; then
        echo "'$1' passes for $target, or not with the reason:"
        echo "$output"
        failures=1
      fi
    done
    shift 3
  done
}

expect_refusals 'Hosts built earlier call an operation by the number of its slot' "${slots[@]}"
expect_refusals 'stream_options.h' "${fields[@]}"
exit "$failures"

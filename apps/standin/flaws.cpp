#include "flaws.h"

#include <algorithm>
#include <span>

namespace standin {
namespace {

struct Slot {
  std::string_view name;
  std::string_view value;
};

/// `text` with the slots' values in their places; in one pass, so that a value is never taken for a slot.
std::string fillIn(std::string_view text, std::span<const Slot> slots) {
  std::string filled;
  while (!text.empty()) {
    const auto slot =
        std::find_if(slots.begin(), slots.end(), [&](const Slot& it) { return text.starts_with(it.name); });
    if (slot == slots.end()) {
      filled += text.front();
      text.remove_prefix(1);
    } else {
      filled += slot->value;
      text.remove_prefix(slot->name.size());
    }
  }
  return filled;
}

std::string_view nameOf(JsonType type, const TypeNames& names) { return names.at(static_cast<std::size_t>(type)); }

}  // namespace

Refusal wordFlaw(const Flaw& flaw, const Wordings& wordings) {
  const Wording& wording = wordings.*flaw.kind;
  const std::array slots{
      Slot{"{path}", flaw.path},
      Slot{"{value}", flaw.value},
      Slot{"{expected}", nameOf(flaw.expected, wordings.expected)},
      Slot{"{found}", nameOf(flaw.found, wordings.found)},
      Slot{"{detail}", flaw.detail},
  };
  return {wording.status, std::string(wording.label), fillIn(wording.text, slots), flaw.path};
}

}  // namespace standin

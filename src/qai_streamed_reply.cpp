#include "qai_streamed_reply.h"

#include <cf/json_shortcuts.h>

#include <algorithm>

namespace {
// More than a service gives; what is beyond counts as one.
constexpr double kMostChoices = 1024;
}  // namespace

StreamedChoice& StreamedReply::obtainChoice(const ICOJsonValue& item, std::size_t place) {
  const ICOJsonValue* told = cfFindJsonMember(&item, "index", JsonType::Number);
  const double index = told == nullptr ? static_cast<double>(place) : told->obtainNumber();
  const bool isWithin = index >= 0 && index < kMostChoices;
  return choices_[static_cast<std::size_t>(isWithin ? index : kMostChoices)];
}

bool StreamedReply::isFirst(const StreamedChoice& choice) const noexcept {
  const auto first = choices_.find(0);
  return first != choices_.end() && &first->second == &choice;
}

void StreamedReply::append(StreamedChoice& choice, std::string_view text) {
  choice.text += text;
  textBytes_ += text.size();
}

bool StreamedReply::hasEnded() const noexcept {
  return std::all_of(choices_.begin(), choices_.end(), [](const auto& entry) { return entry.second.hasEnded; });
}

std::string StreamedReply::takeText() {
  std::string text;
  for (auto& [index, choice] : choices_) {
    if (choice.author != StreamedChoice::Author::Assistant) continue;
    if (text.empty()) {
      text = std::move(choice.text);
    } else {
      text += choice.text;
    }
  }
  return text;
}

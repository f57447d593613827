#include "terminal/history.h"

#include "terminal/rendering.h"

#include <cf/redaction.h>
#include <cf/text.h>

#include <algorithm>
#include <utility>

namespace {

constexpr char kEscape = '\\';

std::string escaped(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    if (c == '\n') {
      line += "\\n";
    } else {
      if (c == kEscape) line += kEscape;
      line += c;
    }
  }
  return line;
}

std::string unescaped(std::string_view line) {
  std::string text;
  text.reserve(line.size());
  for (std::size_t at = 0; at < line.size(); ++at) {
    const bool isEscaped = line[at] == kEscape && at + 1 < line.size();
    if (isEscaped) ++at;
    text += isEscaped && line[at] == 'n' ? '\n' : line[at];
  }
  return text;
}

}  // namespace

QuestionHistory::QuestionHistory(HistoryStore& store, std::vector<std::string> secrets, Complain complain)
    : store_(&store), secrets_(std::move(secrets)), complain_(std::move(complain)), entries_(store.load()) {}

void QuestionHistory::add(const std::string& text) {
  if (text.starts_with(' ') || text.starts_with('\t')) return;
  const std::string entry = terminalSafe(cfTrimAsString(text));  // it will be shown again
  if (entry.empty() || (!entries_.empty() && entries_.back() == entry)) return;
  entries_.push_back(entry);
  if (store_ == nullptr || holdsSecret(entry)) return;
  const std::string error = store_->append(entry);
  if (error.empty()) return;
  store_ = nullptr;
  complain_("What you ask is not kept for later: " + error);
}

bool QuestionHistory::holdsSecret(std::string_view text) const {
  return std::any_of(secrets_.begin(), secrets_.end(),
                     [text](const std::string& secret) { return !secret.empty() && cfRedacted(text, secret) != text; });
}

std::string writeEntries(const std::vector<std::string>& entries) {
  std::string text;
  for (const std::string& entry : entries) text += escaped(entry) + '\n';
  return text;
}

std::vector<std::string> readEntries(std::string_view text) {
  std::vector<std::string> entries;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (!line.empty()) entries.push_back(terminalSafe(unescaped(line)));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return entries;
}

std::vector<std::string> withEntry(std::vector<std::string> entries, const std::string& entry) {
  if (entries.empty() || entries.back() != entry) entries.push_back(entry);
  std::size_t bytes = 0;
  std::size_t kept = 0;
  while (kept < std::min(entries.size(), kMostEntries)) {
    bytes += escaped(entries[entries.size() - 1 - kept]).size() + 1;
    if (bytes > kMostHistoryBytes) break;
    ++kept;
  }
  entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(kept));
  return entries;
}

#include "cuts.h"

#include <algorithm>
#include <cstddef>

namespace {

std::vector<std::string_view> cut(std::string_view text, std::string_view sizes) {
  if (sizes.empty()) return {text};
  std::vector<std::string_view> parts;
  for (std::size_t turn = 0; !text.empty(); turn = (turn + 1) % sizes.size()) {
    const std::size_t least = turn + 1 == sizes.size() ? 1 : 0;
    const std::size_t size = std::max<std::size_t>(static_cast<unsigned char>(sizes[turn] - '0'), least);
    parts.push_back(text.substr(0, size));
    text.remove_prefix(parts.back().size());
  }
  return parts;
}

}  // namespace

CutInput::CutInput(std::string_view input) {
  const std::size_t start = std::min(input.find('\n'), input.size());
  text = input.substr(std::min(start + 1, input.size()));
  parts = cut(text, input.substr(0, start));
}

// Forms of the text helpers that do not allocate.
#pragma once

#include <array>
#include <string_view>

/// `text` without the ASCII white space at its two ends.
std::string_view trimmedView(std::string_view text) noexcept;

/// Holds any finite or other double in the form that `formatNumber` gives.
using NumberBuffer = std::array<char, 32>;

/// What cfNumberToText gives, in `buffer`.
std::string_view formatNumber(double value, NumberBuffer& buffer) noexcept;

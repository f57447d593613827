// What is asked of a request's head by more than one.
#pragma once

#include "standin.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// The part of `rest` before `separator`, which is taken off `rest` together with the separator.
std::string_view takeUntil(std::string_view& rest, std::string_view separator);

/// Whether two texts are the same but for the case of ASCII letters.
bool sameText(std::string_view left, std::string_view right) noexcept;

/// The decoded pairs of a query.
Headers readQuery(std::string_view query);

/// The values of all headers `name` (any case), in their order; they live as long as the request.
std::vector<std::string_view> headerValues(const Request& request, std::string_view name);

/// The value of the first query pair `name`; "" when there is none.
std::string queryValue(const Request& request, std::string_view name);

/// Its value as a number; `usual` when it is "", nothing when it is no number.
std::optional<std::size_t> queryNumber(const Request& request, std::string_view name, std::size_t usual);

}  // namespace standin

// The head of an HTTP request as the log keeps it: byte for byte what was sent, which the HTTP library's own reading
// is not (it decodes header values and adds headers).
#pragma once

#include "standin.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

/// Reads a request line and header lines, up to the blank line. What is malformed is left out.
Request readHead(std::string_view head);

/// The value of the first query pair `name`; "" when there is none.
std::string queryValue(const Request& request, std::string_view name);

/// Its value as a number; `usual` when it is "", nothing when it is no number.
std::optional<std::size_t> queryNumber(const Request& request, std::string_view name, std::size_t usual);

}  // namespace standin

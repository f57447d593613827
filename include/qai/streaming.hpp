/// @file
/// Replies as they come; a part of qai.hpp.
#pragma once

#include <cf/language.h>

#include <concepts>
#include <string_view>
#include <type_traits>

namespace qai {

/// What takes a reply's text while it comes, piece by piece: any callable of a std::string_view. One that returns a
/// bool ends the turn with false; one that returns nothing has it go on.
template <class Sink>
concept PieceSink = std::invocable<Sink&, std::string_view> &&
    (std::is_void_v<std::invoke_result_t<Sink&, std::string_view>> ||
     std::convertible_to<std::invoke_result_t<Sink&, std::string_view>, bool>);

namespace detail {

/// Hands `piece` to `sink`. @return whether the turn goes on
template <PieceSink Sink>
bool handOn(Sink& sink, std::string_view piece) {
  if constexpr (std::is_void_v<std::invoke_result_t<Sink&, std::string_view>>) {
    sink(piece);
    return true;
  } else {
    return static_cast<bool>(sink(piece));
  }
}

}  // namespace detail

}  // namespace qai

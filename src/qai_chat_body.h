// A request's body while a dialect writes it: JSON text from its beginning to its end.
#pragma once

#include "qai_assistant_properties.h"

#include <cf/json_shortcuts.h>
#include <cf/rest.h>

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

/// What may be long is borrowed: the database's statements, and the history behind them.
class ChatBody {
 public:
  ChatBody() { text_.reserve(kUsualSize); }

  /// JSON as it stands; copied, as are the next two.
  ChatBody& add(std::string_view json) {
    text_ += json;
    return *this;
  }
  /// A text, as a JSON string.
  ChatBody& addString(std::string_view text) {
    cfAppendJsonString(text_, text);
    return *this;
  }
  ChatBody& addNumber(double number) { return add(cfWriteJson(number)); }

  /// The text of the instructions as a JSON string. At most once, before the messages.
  ChatBody& addInstructions(const InstructionsJson& instructions) {
    add(instructions.start);
    parts_.front() = {text_.size(), instructions.structure};
    return add(instructions.end);
  }
  /// JSON values with commas between them. Once.
  ChatBody& addMessages(std::string_view messages) {
    parts_.back() = {text_.size(), messages};
    return *this;
  }

  /// All but what is borrowed. Ends the writing.
  std::string takeText() { return std::move(text_); }
  /// What is borrowed, and its places in the text.
  std::span<const CMRestTextPart> parts() const { return parts_; }

 private:
  static constexpr std::size_t kUsualSize = 512;

  std::string text_;
  std::array<CMRestTextPart, 2> parts_;
};

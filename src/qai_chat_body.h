// A request's body while a dialect writes it: JSON text from its beginning to its end.
#pragma once

#include "qai_assistant_properties.h"

#include <cf/json_shortcuts.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

/// What may be long is borrowed: the database's statements, and the history behind them.
class ChatBody {
 public:
  ChatBody() { text_.reserve(kUsualSize); }

  /// JSON as it stands; copied, as are the next two.
  ChatBody& add(std::string_view json) {
    text_ += json;
    return *this;
  }
  /// A text, as what stands in a JSON string.
  ChatBody& addCharacters(std::string_view text) {
    cfAppendJsonCharacters(text_, text);
    return *this;
  }
  ChatBody& addNumber(double number) { return add(cfWriteJson(number)); }

  /// The text of the instructions as a JSON string. At most once, before the messages.
  ChatBody& addInstructions(const InstructionsJson& instructions) {
    add(instructions.start);
    structurePlace_ = text_.size();
    structure_ = instructions.structure;
    return add(instructions.end);
  }
  /// JSON values with commas between them. Once.
  ChatBody& addMessages(std::string_view messages) {
    messagesPlace_ = text_.size();
    messages_ = messages;
    return *this;
  }

  /// What was written, as long as nothing more is.
  std::array<std::string_view, 5> parts() const {
    const std::string_view text = text_;
    return {text.substr(0, structurePlace_), structure_, text.substr(structurePlace_, messagesPlace_ - structurePlace_),
            messages_, text.substr(messagesPlace_)};
  }

 private:
  static constexpr std::size_t kUsualSize = 512;

  std::string text_;
  std::size_t structurePlace_ = 0;  // in the text
  std::string_view structure_;
  std::size_t messagesPlace_ = 0;  // behind it
  std::string_view messages_;
};

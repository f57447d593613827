/// @file
/// Error texts in the user's language; a part of qai.hpp.
#pragma once

#include <qai.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace qai {

/// Translates one text: UTF-8 to UTF-8. An empty result leaves the text as it is.
using Translation = std::function<std::string(std::string_view)>;

namespace detail {

/// A host's translation while it is registered.
struct Translator {
  Translation translation;  ///< empty while none is registered
  Translator() = default;
  /// A program or a plug-in that goes takes the function along, so the library must not call it any more.
  ~Translator() {
    if (translation) QAIRegisterCallback(nullptr);
  }
  Translator(const Translator&) = delete;
  Translator& operator=(const Translator&) = delete;
};

/// The module's only one; made when it is first used.
inline Translator& translator() {
  static Translator instance;
  return instance;
}

/// The most bytes of `text` that fit into `limit` without cutting a character of UTF-8 in two.
inline std::size_t fittingLength(std::string_view text, std::size_t limit) noexcept {
  if (text.size() <= limit) return text.size();
  std::size_t length = limit;
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) --length;
  return length;
}

/// What the library calls. Whatever goes wrong leaves the buffer as it came: empty, so the text stays as it is.
inline void translate(const char* name, void* data) noexcept {
  if (std::strcmp(name, "QAILocalizeString") != 0) return;
  auto* info = static_cast<QAICallbackLocalizationInfo*>(data);
  try {
    const std::string text = translator().translation(info->text);
    text.copy(info->buffer, fittingLength(text, sizeof info->buffer - 1));
  } catch (...) {  // NOLINT(bugprone-empty-catch): the text stays as it is
  }
}

}  // namespace detail

/// Has the library's own error texts translated by `translation`; an empty function ends that. What is longer than 1023
/// bytes is cut at a character; one that throws leaves the text as it is. There is one for the whole library: each call
/// takes the place of what was registered before, by this or by QAIRegisterCallback. Called while no assistant works.
/// The function runs on the thread of the operation, on several at once when several assistants work.
inline void setTranslation(Translation translation) {
  QAIRegisterCallback(nullptr);
  detail::translator().translation = std::move(translation);
  if (detail::translator().translation) QAIRegisterCallback(&detail::translate);
}

}  // namespace qai

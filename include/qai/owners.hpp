/// @file
/// Who owns what the library hands out; a part of qai.hpp.
#pragma once

#include <qai.h>

#include <memory>

namespace qai {

/// The deleter of what the library handed out.
struct FreeObject {
  /// Frees `object`; null does nothing.
  void operator()(IQAIObject* object) const noexcept { QAIFreeObject(object); }
};

/// Owns an object of the plain interface; as large as the raw pointer.
template <class T>
using Owned = std::unique_ptr<T, FreeObject>;

/// Owns a pool centre until an assistant does.
using Pool = std::unique_ptr<ICSHTTPPoolCenter>;

/// A pool centre for one assistant: connections that are kept between requests, and requests that can be cancelled.
inline Pool makePool() { return Pool(CF::createHTTPPoolCenter()); }

/// What this header needs for itself.
namespace detail {

/// What an assistant's handles share. The last of them frees the assistant, and with it the pool.
struct Core {
  Owned<IQAIAssistant> assistant;     ///< never null but while a constructor runs
  ICSHTTPPoolCenter* pool = nullptr;  ///< the assistant's
  QAIAssistantType type = OPENAI_v1;  ///< as it was created

  /// Whether obtainAssistantProperties gives the assistant's own object, which nobody else may free.
  bool keepsProperties() const noexcept { return type == OPENAI; }
};

/// Frees a session, then lets its assistant go.
struct FreeSession {
  std::shared_ptr<Core> core;  ///< what the session refers to
  /// Frees `session` alone: nothing is sent to the service.
  void operator()(IQAISession* session) const noexcept { QAIFreeObject(session); }
};

/// Frees a copy of the properties; lets the assistant go whose own they are.
struct FreeProperties {
  std::shared_ptr<Core> core;  ///< the owner; null for a copy
  /// Frees `properties` when nobody else does.
  void operator()(IQAIProperties* properties) const noexcept {
    if (core == nullptr) QAIFreeObject(properties);
  }
};

}  // namespace detail

}  // namespace qai

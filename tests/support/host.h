// What a host needs around the plain interface: owners, and a way to fill properties.
#pragma once

#include <qai.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

struct FreeObject {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};
template <class T>
using Owned = std::unique_ptr<T, FreeObject>;

using Settings = std::map<std::string, CMVariant>;

/// Sets `settings` by key, in the order of the keys; gives the error text.
inline std::string assign(IQAIAssistant& assistant, const Settings& settings) {
  return assistant.setAssistantProperties([&settings](IQAIProperties* properties) {
    for (const auto& [key, value] : settings) properties->setProperty(key, value);
  });
}

inline CMVariant property(IQAIAssistant& assistant, const std::string& key) {
  IQAIProperties* properties = assistant.obtainAssistantProperties();
  IQAIProperties* again = assistant.obtainAssistantProperties();
  // The Assistants service hands out the assistant's own object, which is not the caller's to free.
  const bool areCopies = properties != again;
  const Owned<IQAIProperties> freed(areCopies ? properties : nullptr);
  const Owned<IQAIProperties> freedToo(areCopies ? again : nullptr);
  return properties->obtainProperty(key);
}

/// A new session; null when there was an error.
inline Owned<IQAISession> newSession(IQAIAssistant& assistant) {
  return Owned<IQAISession>(assistant.createSession().first);
}

/// The reply's text, or the error text behind "error: ".
inline std::string ask(IQAIAssistant& assistant, IQAISession* session, const std::string& text) {
  const auto [message, error] = assistant.addMessage(session, text);
  const Owned<IQAIMessage> reply(message);
  if (reply == nullptr || !error.empty()) return "error: " + error;
  std::string answer;
  for (const IQAIMessageSection* section : reply->obtainSections()) answer += section->obtainText();
  return answer;
}

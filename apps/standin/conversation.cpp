#include "conversation.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace standin {

const Role* findRole(std::span<const Role> roles, std::string_view name) {
  const auto found = std::find_if(roles.begin(), roles.end(), [&](const Role& role) { return role.name == name; });
  return found == roles.end() ? nullptr : &*found;
}

void Conversation::add(Speaker speaker, std::string text) {
  if (speaker == Speaker::Other) return;
  if (speaker == Speaker::Instructions) {
    instructions += text + "\n";
  } else {
    turns.push_back({speaker == Speaker::User, std::move(text)});
  }
}

std::int64_t countWords(const std::string& text) {
  std::istringstream words(text);
  std::int64_t count = 0;
  for (std::string word; words >> word;) ++count;
  return count;
}

Answer answerConversation(const Conversation& conversation) {
  constexpr std::size_t kNewTurns = 2;  // the last answer and the question
  std::int64_t wordsAsked = countWords(conversation.instructions);
  std::int64_t wordsCached = 0;
  for (std::size_t i = 0; i < conversation.turns.size(); ++i) {
    wordsAsked += countWords(conversation.turns[i].text);
    if (i + kNewTurns < conversation.turns.size()) wordsCached = wordsAsked;
  }
  std::vector<Turn> history = conversation.turns;
  std::string question;
  if (!history.empty() && history.back().fromUser) {
    question = std::move(history.back().text);
    history.pop_back();
  }
  std::string text = answerQuestion(conversation.instructions, history, question);
  const std::int64_t wordsAnswered = countWords(text);
  return {std::move(text), wordsAsked, wordsCached, wordsAnswered};
}

std::string_view textOf(const COJsonValue& object, std::string_view key) {
  const COJsonValue* value = object.obtainJsonValue(key);
  return value == nullptr ? std::string_view() : value->obtainString();
}

bool flagOf(const COJsonValue& object, std::string_view key) {
  const COJsonValue* value = object.obtainJsonValue(key);
  return value != nullptr && value->obtainBool();
}

Conversation readMessages(const COJsonValue& messages, std::span<const Role> roles) {
  Conversation conversation;
  for (std::size_t i = 0; i < messages.obtainArraySize(); ++i) {
    const COJsonValue& message = *messages.obtainArrayItem(i);
    const Role* role = findRole(roles, textOf(message, "role"));
    if (role != nullptr) conversation.add(role->speaker, std::string(textOf(message, "content")));
  }
  return conversation;
}

}  // namespace standin

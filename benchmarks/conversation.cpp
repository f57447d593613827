#include "conversation.h"

#include "description.h"

#include <cf/app.h>
#include <cf/json.h>
#include <qai_extensions.h>

#include <stdexcept>

namespace {

constexpr std::size_t kEntrySize = 1024;
constexpr const char* kQuestion = "Which is the highest glacier of each region?";
constexpr const char* kReply = "SELECT name FROM glacier ORDER BY height DESC LIMIT 1;";  // bench_server's
constexpr const char* kInstructions = "Answer with SQL for SQLite.";

/// Lines of SQL with what such replies hold: line ends and quotation marks.
std::string makeEntry(std::size_t number) {
  std::string text = "Number " + std::to_string(number) + "\n";
  while (text.size() < kEntrySize) text += "SELECT \"name\", height FROM glacier WHERE region = 'Süd' AND\n";
  text.resize(kEntrySize, ' ');
  return text;
}

void addMessage(COJsonValue& messages, const std::string& role, const std::string& text) {
  COJsonValue* message = messages.addArrayItem();
  message->addKeyValue("role")->setString(role);
  message->addKeyValue("content")->setString(text);
}

void addHistory(COJsonValue& messages, const Length& length) {
  const std::size_t count = length.isGoingOn ? length.entries - 2 : length.entries;
  for (std::size_t i = 0; i < count; ++i) addMessage(messages, i % 2 == 0 ? "user" : "assistant", makeEntry(i));
}

/// What the library tells the model ahead of a conversation.
std::string makeInstructions(std::size_t tables) {
  const std::unique_ptr<IQAIAssistant, FreeObject> assistant(
      QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "key", ""));
  assistant->setAssistantProperties([tables](IQAIProperties* properties) {
    properties->setProperty("user_instructions", kInstructions);
    if (tables != 0) properties->setProperty("db_structure", makeDescription(tables));
  });
  const std::unique_ptr<IQAIProperties, FreeObject> properties(assistant->obtainAssistantProperties());
  return properties->obtainProperty("combined_instructions").stringValue();
}

/// A message as it stands in an array, without what would separate it from the one before.
std::string toText(const std::string& role, const std::string& text) {
  COJson messages;
  addMessage(messages, role, text);
  const std::string array = messages.obtainJsonString();
  return array.substr(1, array.size() - 2);
}

}  // namespace

Conversation::Conversation(const std::string& url, Length length)
    : length_(length),
      turns_(length.turns),
      assistant_(QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "key", url)) {
  COJson saved;
  saved.addKeyValue("model")->setString("bench");
  saved.addKeyValue("user_instructions")->setString(kInstructions);
  if (length.tables != 0) saved.addKeyValue("db_structure")->setString(makeDescription(length.tables));
  addHistory(*saved.addKeyValue("messages"), length);
  saved_ = saved.obtainJsonString();
}

void Conversation::keepLength() {
  if (turns_ >= length_.turns) restore();
}

void Conversation::restore() {
  session_.reset();
  session_.reset(assistant_->loadSession(saved_).first);
  if (length_.isGoingOn) turn();
  turns_ = 0;
}

void Conversation::turn() {
  ++turns_;
  const auto [message, error] = assistant_->addMessage(session_.get(), kQuestion);
  const std::unique_ptr<IQAIMessage, FreeObject> reply(message);
  if (!error.empty()) throw std::runtime_error(error);
}

std::size_t Conversation::streamTurn(const std::function<void(std::string_view)>& sink) {
  ++turns_;
  const auto handOn = [&sink](std::string_view piece) {
    sink(piece);
    return true;
  };
  const auto [message, error] =
      qaiExtension<IQAIStreaming>(assistant_.get())->addMessageStreaming(session_.get(), kQuestion, {}, handOn);
  const std::unique_ptr<IQAIMessage, FreeObject> reply(message);
  if (!error.empty()) throw std::runtime_error(error);
  return reply->obtainSections().at(0)->obtainText().size();
}

BareConversation::BareConversation(const std::string& url, Length length, const std::string& authoritiesFolder,
                                   std::function<void(std::string_view)> receive)
    : client_(url + "/v1/chat/completions", authoritiesFolder, receive),
      turnsPerRestore_(length.turns),
      turns_(turnsPerRestore_),
      end_("," + toText("user", kQuestion) +
           (receive ? R"(],"stream":true,"stream_options":{"include_usage":true}})" : "]}")) {
  COJson body;
  body.addKeyValue("model")->setString("bench");
  COJsonValue* messages = body.addKeyValue("messages");
  addMessage(*messages, "developer", makeInstructions(length.tables));
  addHistory(*messages, length);
  if (length.isGoingOn) {
    addMessage(*messages, "user", kQuestion);
    addMessage(*messages, "assistant", kReply);
  }
  body_ = body.obtainJsonString();
  body_.resize(body_.size() - 2);
  historyEnd_ = body_.size();
}

bool BareConversation::keepLength() {
  static const std::string kTurn = "," + toText("user", kQuestion) + "," + toText("assistant", kReply);
  if (turns_ >= turnsPerRestore_) turns_ = 0;
  body_.resize(historyEnd_);
  for (std::size_t i = 0; i < turns_; ++i) body_ += kTurn;
  body_ += end_;
  return turns_++ == 0;
}

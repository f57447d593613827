// A conversation with somebody who answers by rule.
#pragma once

#include "conversation/conversation.h"
#include "terminal/plain_line_editor.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

inline constexpr std::array kProfiles{
    ProviderProfile{.name = "openai", .title = "OpenAI"},
    ProviderProfile{.name = "openai-assistants", .title = "OpenAI Assistants", .keepsConversations = true},
    ProviderProfile{.name = "gemini", .title = "Gemini"},
    ProviderProfile{.name = "ollama", .title = "Ollama"},
};

inline const Background kShop{
    .tables = {{.name = "orders",
                .columns = {{.name = "id", .about = "INTEGER, primary key"}, {.name = "customer_id", .about = "\x1b"}}},
               {.name = "Orders", .columns = {{.name = "another", .about = ""}}},
               {.name = "order lines\x1b", .columns = {}},
               {.name = "turnover", .isView = true, .columns = {{.name = "total", .about = "REAL"}}}}};

/// Answers "re: QUESTION"; fails for questions that start with "bad".
class FakeAnswerer : public MovableAnswerer {
 public:
  std::string startConversation() override {
    ++conversations;
    return conversationError;
  }
  Answer ask(const Inquiry& inquiry) override {
    const std::string& question = inquiry.text;
    questions.push_back(question);
    if (question.starts_with("bad")) return {.error = "no answer to " + question};
    Answer answer = next;
    if (answer.text.empty() && answer.finishReason.empty()) answer.text = "re: " + question;
    return answer;
  }
  /// In two pieces, of which a failure has the first one.
  Answer askInPieces(const Inquiry& inquiry, const ShowPiece& show) override {
    Answer answer = ask(inquiry);
    if (!answer.text.empty() || inquiry.text == "bad end") show("re: ");
    if (!answer.text.empty()) show(answer.text.substr(4));
    return answer;
  }
  ExitCode failureCode() const override { return code; }
  std::span<const ProviderProfile> providers() const override { return kProfiles; }
  const ProviderProfile& provider() const override { return *provider_; }
  const std::string& model() const override { return model_; }
  std::string moveTo(const ProviderProfile& provider, const std::string& model) override {
    if (!moveError.empty()) return moveError;
    provider_ = &provider;
    model_ = model.empty() ? "its first" : model;
    return "";
  }
  std::pair<std::vector<std::string>, std::string> listModels() override { return {models, modelsError}; }
  std::string changeModel(const std::string& model) override {
    if (moveError.empty()) model_ = model;
    return moveError;
  }

  std::vector<std::string> questions;
  int conversations = 0;
  std::string conversationError;
  ExitCode code = ExitCode::ServiceFailed;
  Answer next;  // what is beside the usual text
  std::string moveError;
  std::vector<std::string> models = {"a\x1b", "b:latest", "c"};
  std::string modelsError;

 private:
  const ProviderProfile* provider_ = kProfiles.data();
  std::string model_ = "m\x1b";
};

class Conversation : public testing::Test {
 protected:
  Streams streams(const std::string& input = "") {
    in_.str(input);
    return {in_, out_, err_};
  }
  static bool runPlainly(const std::function<void()>& turn) {
    turn();
    return false;
  }
  static bool runInterrupted(const std::function<void()>& turn) {
    turn();
    return true;
  }

  /// Of plain lines from the input.
  void converse(const Streams& streams, const TurnRunner& runTurn, const Background& background = {}) {
    PlainLineEditor editor(streams.in, streams.err);
    QuestionHistory history;
    Questions questions(editor, history);
    ::converse(answerer_, questions, streams, runTurn, background);
  }

  FakeAnswerer answerer_;
  std::istringstream in_;
  std::ostringstream out_;
  std::ostringstream err_;
};

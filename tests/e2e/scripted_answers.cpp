#include "scripted_answers.h"

#include <array>
#include <cstdio>

namespace {

std::string quoteJson(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      quoted += std::string{'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20U) {
      std::array<char, 8> code{};
      std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(c));
      quoted += code.data();
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string makeBody(BodyForm form, const std::string& quoted) {
  switch (form) {
    case BodyForm::Completions:
      return R"({"choices":[{"index":0,"message":{"role":"assistant","content":)" + quoted +
             R"(},"finish_reason":"stop"}]})";
    case BodyForm::Ollama:
      return R"({"model":"m","message":{"role":"assistant","content":)" + quoted +
             R"(},"done":true,"done_reason":"stop"})";
    case BodyForm::Gemini:
      return R"({"candidates":[{"content":{"role":"model","parts":[{"text":)" + quoted +
             R"(}]},"finishReason":"STOP"}]})";
    case BodyForm::Assistants:
      break;
  }
  return R"([{"type":"text","text":{"value":)" + quoted + R"(,"annotations":[]}}])";
}

}  // namespace

std::string fence(std::string_view sql) { return "Here:\n```sql\n" + std::string(sql) + "\n```\n"; }

void scriptAnswer(standin::Server& server, const TestedService& service, std::string_view text) {
  const std::string body = makeBody(service.form, quoteJson(text));
  if (service.form == BodyForm::Assistants) {
    standin::RunScript run;
    run.contents = {body};
    server.scriptRun(run);
  } else {
    standin::Script script;
    script.body = body;
    server.script(script);
  }
}

void scriptAnswer(standin::Server& server, std::string_view text) {
  scriptAnswer(server, *findService(OPENAI_v1), text);
}

std::string everythingSent(const standin::Server& server) {
  std::string text;
  for (const standin::Request& request : server.requests()) {
    text += request.method + " " + request.path + " " + request.body;
    for (const auto& [name, value] : request.headers) text += " " + name + ": " + value;
    for (const auto& [name, value] : request.query) text += " " + name + "=" + value;
    text += "\n";
  }
  return text;
}

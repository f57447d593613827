// Streamed replies without a network: parts go in, and what a host would get comes out. A row each.
#pragma once

#include "qai_reply_stream.h"
#include "qai_run_stream.h"
#include "qai_session_deepseek.h"
#include "qai_session_google.h"
#include "qai_session_ollama.h"
#include "qai_session_openai_v1.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

using Failure = QAIReplyStream::Failure;

/// What a host gets of a stream.
struct Streamed {
  std::vector<std::string> pieces;
  Failure failure = Failure::None;
  std::string error;    // in the service's words
  std::string text;     // of the message
  std::string details;  // as tellDetails writes them
  bool operator==(const Streamed&) const = default;
};

inline void PrintTo(const Streamed& streamed, std::ostream* out) {
  for (const std::string& piece : streamed.pieces) *out << '[' << piece << ']';
  *out << " text \"" << streamed.text << "\", failure " << static_cast<int>(streamed.failure) << ", error \""
       << streamed.error << "\", details " << streamed.details;
}

/// "why it ended|refusal|model|request|tokens in/out/cached"
inline std::string tellDetails(const ReplyDetails& details) {
  return details.finishReason + "|" + details.refusal + "|" + details.model + "|" + details.requestIdentifier + "|" +
         std::to_string(details.inputTokens) + "/" + std::to_string(details.outputTokens) + "/" +
         std::to_string(details.cachedTokens);
}

inline std::string join(const std::vector<std::string>& texts, std::string_view between = "") {
  std::string joined;
  for (const std::string& text : texts) joined.append(joined.empty() ? "" : between).append(text);
  return joined;
}

/// What comes of a stream in these parts; each part is gone when it was read.
inline Streamed feed(const StreamForm& form, const std::vector<std::string_view>& parts,
                     const QAIStreamOptions& options = {}) {
  Streamed streamed;
  const IQAIStreaming::Sink sink = [&](std::string_view piece) {
    streamed.pieces.emplace_back(piece);
    return true;
  };
  QAIReplyStream stream(form, options, sink);
  bool isWanted = true;
  for (std::size_t i = 0; isWanted && i < parts.size(); ++i) {
    const std::vector<char> own(parts[i].begin(), parts[i].end());
    isWanted = stream.receive({own.data(), own.size()});
  }
  if (isWanted) stream.finish();
  streamed.failure = stream.failure();
  streamed.error = stream.reply().error;
  streamed.details = tellDetails(stream.reply().details);
  if (streamed.failure == Failure::None) streamed.text = stream.reply().takeText();
  return streamed;
}

inline std::vector<std::string_view> byteByByte(std::string_view body) {
  std::vector<std::string_view> parts;
  for (std::size_t place = 0; place < body.size(); ++place) parts.push_back(body.substr(place, 1));
  return parts;
}

inline constexpr const StreamForm* kChat = &kOpenAI.stream.form;
inline constexpr const StreamForm* kDeep = &kDeepSeek.stream.form;
inline constexpr const StreamForm* kGemini = &kGoogle.stream.form;
inline constexpr const StreamForm* kLines = &kOllama.stream.form;
inline constexpr const StreamForm* kRun = &kRunStream;

inline constexpr const char* kUntold = "||||-1/-1/-1";

struct Row {
  const char* name;
  const StreamForm* form;
  std::string body;
  std::vector<std::string> pieces;
  std::string details = kUntold;
  Failure failure = Failure::None;
  std::string error = "";
};
inline void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

/// Events without a name.
inline std::string events(std::initializer_list<std::string_view> datas) {
  std::string body;
  for (const std::string_view data : datas) body.append("data: ").append(data).append("\n\n");
  return body;
}

inline std::string lines(std::initializer_list<std::string_view> values) {
  std::string body;
  for (const std::string_view value : values) body.append(value).append("\n");
  return body;
}

inline std::string named(std::string_view name, std::string_view data) {
  return "event: " + std::string(name) + "\ndata: " + std::string(data) + "\n\n";
}

/// Each row however it is cut, wherever its tests stand.
class ReplyStream : public testing::TestWithParam<Row> {};

inline std::string nameOf(const testing::TestParamInfo<Row>& row) { return row.param.name; }

// A streamed reply of each form: what a host gets of it does not depend on how it is cut, and is what the rules of the
// interface say.
#include "cuts.h"
#include "expect.h"
#include "qai_reply_stream.h"
#include "qai_run_stream.h"
#include "qai_session_google.h"
#include "qai_session_ollama.h"
#include "qai_session_openai_v1.h"
#include "targets.h"

#include <cf/text.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Failure = QAIReplyStream::Failure;

constexpr std::size_t kEnoughText = 1'000'000;
constexpr std::size_t kLittleText = 4;

const StreamForm& formOf(BodyForm form) {
  switch (form) {
    case BodyForm::Completions:
      return kOpenAI.stream.form;
    case BodyForm::Ollama:
      return kOllama.stream.form;
    case BodyForm::Gemini:
      return kGoogle.stream.form;
    case BodyForm::Assistants:
      break;
  }
  return kRunStream;
}

/// What a host gets.
struct Reading {
  std::vector<std::string> pieces;
  Failure failure = Failure::None;
  std::string error;
  std::string text;
  std::string details;
  std::vector<std::size_t> partStarts;
  bool operator==(const Reading&) const = default;
};

std::string tell(const ReplyDetails& details) {
  return details.finishReason + '|' + details.refusal + '|' + details.model + '|' + details.requestIdentifier + '|' +
         std::to_string(details.inputTokens) + '|' + std::to_string(details.outputTokens) + '|' +
         std::to_string(details.cachedTokens);
}

/// The stream in these parts, by a host that takes so many pieces and so much text.
Reading read(BodyForm form, const std::vector<std::string_view>& parts, std::size_t pieces, std::size_t mostText) {
  Reading reading;
  QAIStreamOptions options;
  options.mostTextBytes = mostText;
  const IQAIStreaming::Sink sink = [&](std::string_view piece) {
    reading.pieces.emplace_back(piece);
    return reading.pieces.size() < pieces;
  };
  QAIReplyStream stream(formOf(form), options, sink);
  bool isWanted = true;
  for (std::size_t i = 0; isWanted && i < parts.size(); ++i) {
    const std::vector<char> own(parts[i].begin(), parts[i].end());  // gone behind the part: whoever looks then is found
    isWanted = stream.receive({own.data(), own.size()});
  }
  expect(isWanted || stream.failure() != Failure::None, "a stream that is not wanted has failed");
  if (isWanted) stream.finish();
  reading.failure = stream.failure();
  reading.error = stream.reply().error;
  reading.details = tell(stream.reply().details);
  reading.partStarts = stream.reply().run.partStarts;
  if (reading.failure == Failure::None) reading.text = stream.reply().takeText();
  return reading;
}

void expectRules(const Reading& reading, std::string_view text) {
  std::string joined;
  for (const std::string& piece : reading.pieces) {
    expect(!piece.empty(), "a piece is not empty", text);
    expect(cfToUTF8(piece) == piece, "a piece is whole characters", text);
    joined += piece;
  }
  const bool isReply = reading.failure == Failure::None;
  expect(!isReply || joined == reading.text, "the pieces joined are the text", text);
  expect(isReply || reading.text.empty(), "a failure has no text", text);
  expect((reading.failure == Failure::Told) == !reading.error.empty(), "what is told has words", text);
  expect(std::is_sorted(reading.partStarts.begin(), reading.partStarts.end()), "parts are in their order", text);
  expect(!isReply || reading.partStarts.empty() || reading.partStarts.back() <= reading.text.size(),
         "parts are within the text", text);
}

void expectStartOf(const Reading& reading, const Reading& whole, std::string_view text) {
  expect(reading.pieces.size() <= whole.pieces.size() &&
             std::equal(reading.pieces.begin(), reading.pieces.end(), whole.pieces.begin()),
         "a host that takes less gets the same as far as it goes", text);
}

}  // namespace

void fuzzReplyStream(BodyForm form, std::string_view input) {
  const CutInput cut(input);
  const Reading whole = read(form, {cut.text}, kEnoughText, kEnoughText);
  expectRules(whole, cut.text);
  expect(read(form, cut.parts, kEnoughText, kEnoughText) == whole, "a reply is the same however it is cut", input);

  const Reading first = read(form, cut.parts, 1, kEnoughText);
  expectStartOf(first, whole, cut.text);
  expect(first.pieces.size() <= 1, "nothing comes behind the last piece that is wanted", cut.text);
  expect(first.pieces.empty() || first.failure == Failure::Stopped, "a host that has enough has stopped", cut.text);

  const Reading little = read(form, {cut.text}, kEnoughText, kLittleText);
  expect(read(form, cut.parts, kEnoughText, kLittleText) == little, "a limit is kept however a reply is cut", input);
  expectStartOf(little, whole, cut.text);
  expect(little.failure == Failure::TooLong || little == whole, "a limit changes nothing below it", cut.text);
  std::size_t size = 0;
  for (const std::string& piece : little.pieces) size += piece.size();
  expect(size <= kLittleText, "no more text comes than the limit", cut.text);
}

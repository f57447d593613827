#include "bare_stream.h"

#include <rapidjson/document.h>

#include <stdexcept>
#include <utility>

struct BareStream::Parser {
  rapidjson::MemoryPoolAllocator<> pool;
};

BareStream::BareStream(Sink sink) : sink_(std::move(sink)), parser_(std::make_unique<Parser>()) {}

BareStream::~BareStream() = default;

void BareStream::receive(std::string_view part) {
  constexpr std::string_view kEnd = "\n\n";
  if (!begun_.empty()) {
    begun_ += part;
    part = begun_;
  }
  for (std::size_t end = part.find(kEnd); end != std::string_view::npos; end = part.find(kEnd)) {
    read(part.substr(0, end));
    part.remove_prefix(end + kEnd.size());
  }
  begun_ = std::string(part);
}

void BareStream::read(std::string_view event) {
  constexpr std::string_view kField = "data: ";
  if (!event.starts_with(kField)) return;
  event.remove_prefix(kField.size());
  if (event == "[DONE]") {
    isDone_ = true;
    return;
  }
  parser_->pool.Clear();
  rapidjson::Document document(&parser_->pool);
  document.Parse<rapidjson::kParseValidateEncodingFlag>(event.data(), event.size());
  if (document.HasParseError()) throw std::runtime_error("an event is no JSON");
  const rapidjson::Value& delta = document["choices"][0]["delta"];
  const auto content = delta.FindMember("content");
  if (content == delta.MemberEnd() || !content->value.IsString()) return;
  const std::string_view piece(content->value.GetString(), content->value.GetStringLength());
  text_ += piece;
  sink_(piece);
}

std::string BareStream::takeText() {
  if (!std::exchange(isDone_, false)) throw std::runtime_error("a stream has not come to its end");
  return std::exchange(text_, {});
}

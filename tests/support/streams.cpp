#include "support/streams.h"

#include <cf/json_shortcuts.h>

#include <functional>

namespace {

constexpr std::size_t kCharacters = 3;  // a piece

bool beginsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

void copy(const COJsonValue& value, COJsonValue& target) {
  switch (value.obtainType()) {
    case JsonType::Null:
      return target.setNull();
    case JsonType::Bool:
      return target.setBool(value.obtainBool());
    case JsonType::Number:
      return target.setNumber(value.obtainNumber());
    case JsonType::String:
      return target.setString(value.obtainString());
    case JsonType::Array:
      target.setArray();
      for (std::size_t i = 0; i < value.obtainArraySize(); ++i) copy(*value.obtainArrayItem(i), *target.addArrayItem());
      return;
    case JsonType::Object:
      target.setObject();
      for (const COJsonMember& entry : value.obtainJsonMembers()) copy(*entry.value, *target.addKeyValue(entry.key));
  }
}

std::string asEvent(const COJson& json) { return "data: " + json.obtainJsonString() + "\n\n"; }

const COJsonValue* member(const COJsonValue* value, std::string_view key) {
  return value == nullptr ? nullptr : value->obtainJsonValue(key);
}

/// An event of choice `index`, which `fill` fills.
std::string completionsEvent(const COJsonValue& whole, std::size_t index,
                             const std::function<void(COJsonValue&)>& fill) {
  COJson event;
  event.addKeyValue("object")->setString("chat.completion.chunk");
  if (const COJsonValue* model = member(&whole, "model")) copy(*model, *event.addKeyValue("model"));
  COJsonValue* choice = event.addKeyValue("choices")->addArrayItem();
  choice->addKeyValue("index")->setInteger(static_cast<std::int64_t>(index));
  fill(*choice);
  return asEvent(event);
}

void setDelta(COJsonValue& choice, std::string_view key, const COJsonValue* value) {
  COJsonValue* delta = choice.addKeyValue("delta");
  delta->setObject();
  if (value != nullptr) copy(*value, *delta->addKeyValue(key));
  choice.addKeyValue("finish_reason")->setNull();
}

std::string cutChoice(const COJsonValue& whole, const COJsonValue& choice, std::size_t index) {
  const COJsonValue* message = member(&choice, "message");
  std::string stream =
      completionsEvent(whole, index, [&](COJsonValue& target) { setDelta(target, "role", member(message, "role")); });
  const COJsonValue* content = member(message, "content");
  if (!cfHasJsonType(content, JsonType::String)) {
    stream += completionsEvent(whole, index, [&](COJsonValue& target) { setDelta(target, "content", content); });
  } else {
    for (const std::string& piece : cutText(content->obtainString())) {
      stream += completionsEvent(whole, index, [&](COJsonValue& target) {
        target.addKeyValue("delta")->addKeyValue("content")->setString(piece);
      });
    }
  }
  const COJsonValue* refusal = member(message, "refusal");
  if (cfHasJsonType(refusal, JsonType::String)) {
    stream += completionsEvent(whole, index, [&](COJsonValue& target) { setDelta(target, "refusal", refusal); });
  }
  const COJsonValue* reason = member(&choice, "finish_reason");
  return stream + completionsEvent(whole, index, [&](COJsonValue& target) {
           target.addKeyValue("delta")->setObject();
           target.addKeyValue("finish_reason")
               ->setString(cfHasJsonType(reason, JsonType::String) ? reason->obtainString() : "stop");
         });
}

std::string cutCompletions(const COJsonValue& whole) {
  std::string stream = ": a comment\n\n";
  const COJsonValue* choices = member(&whole, "choices");
  for (std::size_t i = 0; choices != nullptr && i < choices->obtainArraySize(); ++i) {
    stream += cutChoice(whole, *choices->obtainArrayItem(i), i);
  }
  COJson last;
  for (const COJsonMember& entry : whole.obtainJsonMembers()) {
    COJsonValue* target = last.addKeyValue(entry.key);
    if (entry.key == "choices" && entry.value->obtainType() == JsonType::Array) {
      target->setArray();
    } else {
      copy(*entry.value, *target);
    }
  }
  return stream + asEvent(last) + "data: [DONE]\n\n";
}

/// The text parts of a candidate piece by piece, and everything else of it with the last.
std::string cutGemini(const COJsonValue& whole) {
  std::string stream;
  const COJsonValue* candidates = member(&whole, "candidates");
  const bool isList = cfHasJsonType(candidates, JsonType::Array);
  for (std::size_t i = 0; isList && i < candidates->obtainArraySize(); ++i) {
    const COJsonValue* content = member(candidates->obtainArrayItem(i), "content");
    const COJsonValue* parts = member(content, "parts");
    const auto event = [&](const std::function<void(COJsonValue&)>& fill) {
      COJson json;
      COJsonValue* candidate = json.addKeyValue("candidates")->addArrayItem();
      candidate->addKeyValue("index")->setInteger(static_cast<std::int64_t>(i));
      fill(*candidate);
      stream += asEvent(json);
    };
    for (std::size_t part = 0; parts != nullptr && part < parts->obtainArraySize(); ++part) {
      const COJsonValue* text = member(parts->obtainArrayItem(part), "text");
      if (!cfHasJsonType(text, JsonType::String)) continue;
      for (const std::string& piece : cutText(text->obtainString())) {
        event([&](COJsonValue& candidate) {
          COJsonValue* target = candidate.addKeyValue("content");
          target->addKeyValue("parts")->addArrayItem()->addKeyValue("text")->setString(piece);
          if (const COJsonValue* role = member(content, "role")) copy(*role, *target->addKeyValue("role"));
        });
      }
    }
    event([&](COJsonValue& candidate) {
      const COJsonValue* reason = member(candidates->obtainArrayItem(i), "finishReason");
      candidate.addKeyValue("finishReason")
          ->setString(cfHasJsonType(reason, JsonType::String) ? reason->obtainString() : "STOP");
    });
  }
  COJson last;
  last.setObject();
  for (const COJsonMember& entry : whole.obtainJsonMembers()) {
    COJsonValue* target = last.addKeyValue(entry.key);
    if (entry.key == "candidates" && isList) {
      target->setArray();
    } else {
      copy(*entry.value, *target);
    }
  }
  return stream + asEvent(last);
}

std::string cutOllama(const COJsonValue& whole) {
  std::string stream;
  const COJsonValue* message = member(&whole, "message");
  const COJsonValue* content = member(message, "content");
  const bool isText = cfHasJsonType(content, JsonType::String);
  const auto line = [&](const std::string* piece, bool isLast) {
    COJson json;
    for (const COJsonMember& entry : whole.obtainJsonMembers()) {
      if (entry.key != "message" && entry.key != "done") copy(*entry.value, *json.addKeyValue(entry.key));
    }
    if (message != nullptr) copy(*message, *json.addKeyValue("message"));
    if (piece != nullptr) {
      COJsonValue* target = json.addKeyValue("message");
      target->setObject();
      if (const COJsonValue* role = member(message, "role")) copy(*role, *target->addKeyValue("role"));
      target->addKeyValue("content")->setString(*piece);
    }
    json.addKeyValue("done")->setBool(isLast);
    stream += json.obtainJsonString() + "\n";
  };
  const std::string empty;
  if (isText) {
    for (const std::string& piece : cutText(content->obtainString())) line(&piece, false);
  }
  line(isText ? &empty : nullptr, true);
  return stream;
}

std::string asNamedEvent(std::string_view name, const COJson& json) {
  return "event: thread." + std::string(name) + "\n" + asEvent(json);
}

COJson withMembers(const COJsonValue& whole, std::string_view id, const std::function<void(COJson&)>& fill) {
  COJson json;
  json.addKeyValue("id")->setString(id);
  for (const COJsonMember& entry : whole.obtainJsonMembers()) {
    if (entry.key != "id" && entry.key != "content") copy(*entry.value, *json.addKeyValue(entry.key));
  }
  fill(json);
  return json;
}

std::string deltaEvent(std::string_view id, std::size_t part, const COJsonValue& whole, std::string_view piece) {
  COJson json;
  json.addKeyValue("id")->setString(id);
  COJsonValue* item = json.addKeyValue("delta")->addKeyValue("content")->addArrayItem();
  item->addKeyValue("index")->setInteger(static_cast<std::int64_t>(part));
  if (const COJsonValue* type = member(&whole, "type")) copy(*type, *item->addKeyValue("type"));
  item->addKeyValue("text")->addKeyValue("value")->setString(piece);
  return asNamedEvent("message.delta", json);
}

/// A message without text is told whole; the pieces of an empty part are one.
std::string cutMessage(const COJsonValue& message, std::string_view id) {
  std::string stream = asNamedEvent(
      "message.created", withMembers(message, id, [](COJson& json) { json.addKeyValue("content")->setArray(); }));
  const COJsonValue* content = member(&message, "content");
  for (std::size_t part = 0; content != nullptr && part < content->obtainArraySize(); ++part) {
    const COJsonValue& item = *content->obtainArrayItem(part);
    const COJsonValue* text = member(member(&item, "text"), "value");
    if (!cfHasJsonType(text, JsonType::String)) continue;
    std::vector<std::string> pieces = cutText(text->obtainString());
    if (pieces.empty()) pieces.emplace_back();
    for (const std::string& piece : pieces) stream += deltaEvent(id, part, item, piece);
  }
  return stream + asNamedEvent("message.completed", withMembers(message, id, [&](COJson& json) {
                                 if (content != nullptr) copy(*content, *json.addKeyValue("content"));
                               }));
}

}  // namespace

std::string streamOfRun(const std::string& run, const std::string& messageList) {
  const COJson whole(run);
  const std::string id(member(&whole, "id")->obtainString());
  COJson begun;
  begun.addKeyValue("id")->setString(id);
  begun.addKeyValue("status")->setString("queued");
  std::string stream = asNamedEvent("run.created", begun);
  const COJson list(messageList);
  const COJsonValue* messages = member(&list, "data");
  for (std::size_t i = messages->obtainArraySize(); i > 0; --i) {  // the newest is the first of the list
    stream += cutMessage(*messages->obtainArrayItem(i - 1), "msg_" + std::to_string(i));
  }
  return stream + asNamedEvent("run." + std::string(member(&whole, "status")->obtainString()), whole) +
         "event: done\ndata: [DONE]\n\n";
}

std::vector<std::string> cutText(std::string_view text) {
  std::vector<std::string> pieces;
  std::size_t characters = 0;
  for (const char byte : text) {
    if (beginsCharacter(byte) && characters++ % kCharacters == 0) pieces.emplace_back();
    pieces.back() += byte;
  }
  return pieces;
}

std::string streamOf(BodyForm form, const std::string& wholeBody) {
  const COJson whole(wholeBody);
  if (form == BodyForm::Gemini) return cutGemini(whole);
  return form == BodyForm::Ollama ? cutOllama(whole) : cutCompletions(whole);
}

std::string_view streamTypeOf(BodyForm form) {
  return form == BodyForm::Ollama ? "application/x-ndjson" : "text/event-stream";
}

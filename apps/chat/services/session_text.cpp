#include "services/session_text.h"

#include <cf/json_shortcuts.h>
#include <qai/redaction.hpp>

namespace {

/// Text by text: in the JSON as a whole, what is taken out could end in the middle of an escape.
void copyWithoutSecrets(const COJsonValue& from, COJsonValue& to, const Secrets& secrets) {
  switch (from.obtainType()) {
    case JsonType::Object:
      to.setObject();
      for (const auto& [key, member] : from.obtainJsonMembers())
        copyWithoutSecrets(*member, *to.addKeyValue(key), secrets);
      break;
    case JsonType::Array:
      to.setArray();
      for (std::size_t i = 0; i < from.obtainArraySize(); ++i)
        copyWithoutSecrets(*from.obtainArrayItem(i), *to.addArrayItem(), secrets);
      break;
    case JsonType::String:
      to.setString(withoutSecrets(std::string(from.obtainString()), secrets));
      break;
    case JsonType::Number:
      to.setNumber(from.obtainNumber());
      break;
    case JsonType::Bool:
      to.setBool(from.obtainBool());
      break;
    case JsonType::Null:
      break;
  }
}

}  // namespace

std::string withoutSecrets(std::string text, const Secrets& secrets) {
  for (const std::string& secret : secrets) text = qai::redacted(text, secret);
  return text;
}

std::string savedWithoutSecrets(const std::string& saved, const Secrets& secrets) {
  COJson copy;
  copyWithoutSecrets(COJson(saved), copy, secrets);
  return copy.obtainJsonString();
}

std::string turnsWithoutSecrets(const std::string& saved, const Secrets& secrets) {
  const COJson session(saved);
  COJson copy;
  COJsonValue& turns = *copy.addKeyValue("messages");
  turns.setArray();
  if (const COJsonValue* messages = cfFindJsonMember(&session, "messages", JsonType::Array))
    copyWithoutSecrets(*messages, turns, secrets);
  return copy.obtainJsonString();
}

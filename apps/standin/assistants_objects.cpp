#include "assistants_objects.h"

#include "completions.h"

#include <algorithm>

namespace standin {
namespace {

/// @param members constant or not
template <class List>
auto findMember(List& members, std::string_view name) {
  return std::find_if(members.begin(), members.end(), [&](const auto& member) { return member.first == name; });
}

}  // namespace

const std::string& memberOf(const Members& members, std::string_view name) {
  static const std::string none = "null";
  const auto found = findMember(members, name);
  return found == members.end() ? none : found->second;
}

void setMember(Members& members, std::string_view name, std::string json) {
  const auto found = findMember(members, name);
  if (found != members.end()) found->second = std::move(json);
}

std::string writeObject(const Members& members) {
  std::string text;
  for (const auto& [name, json] : members) text += (text.empty() ? "{" : ",") + quote(name) + ":" + json;
  return text + "}";
}

Members newObject(const std::string& id, std::string_view type) {
  return {{"id", quote(id)}, {"object", quote(type)}, {"created_at", std::to_string(currentTime())}};
}

std::string quote(std::string_view text) {
  COJson document;
  document.setStringReference(text);
  return document.obtainJsonString();
}

std::string unquote(const std::string& json) { return std::string(COJson(json).obtainString()); }

std::string writeContent(const std::vector<std::string>& texts) {
  COJson content;
  content.setArray();
  for (const std::string& text : texts) {
    COJsonValue* part = content.addArrayItem();
    part->addKeyValue("type")->setString("text");
    COJsonValue* value = part->addKeyValue("text");
    value->addKeyValue("value")->setString(text);
    value->addKeyValue("annotations")->setArray();
  }
  return content.obtainJsonString();
}

std::string readContent(const std::string& json) {
  const COJson content(json);
  std::string texts;
  for (std::size_t i = 0; i < content.obtainArraySize(); ++i) {
    const COJsonValue* text = content.obtainArrayItem(i)->obtainJsonValue("text");
    if (text != nullptr) texts += textOf(*text, "value");
  }
  return texts;
}

void addMembers(Members& members, std::span<const MemberRule> rules, const Members& sent) {
  for (const MemberRule& rule : rules) {
    if (rule.usual.empty()) continue;
    const std::string& json = memberOf(sent, rule.name);
    members.emplace_back(rule.name, json == "null" ? rule.usual : json);
  }
}

void changeMembers(Members& members, std::span<const MemberRule> rules, const Members& sent) {
  for (const MemberRule& rule : rules) {
    const auto found = findMember(sent, rule.name);
    if (found == sent.end()) continue;
    setMember(members, rule.name, found->second == "null" ? std::string(rule.usual) : found->second);
  }
}

Members readMembers(const COJsonValue& body, std::span<const MemberRule> rules) {
  Members members;
  for (const MemberRule& rule : rules) {
    const COJsonValue* value = body.obtainJsonValue(rule.name);
    if (value != nullptr) members.emplace_back(rule.name, value->obtainJsonString());
  }
  return members;
}

}  // namespace standin

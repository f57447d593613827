// The objects of the Assistants protocol as JSON text: what they are made of, and what a client may send for them.
#pragma once

#include <cf/json.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {

/// The members of an object in their order, each with its JSON text.
using Members = std::vector<std::pair<std::string, std::string>>;

/// The JSON text of member `name`; "null" when there is none.
const std::string& memberOf(const Members& members, std::string_view name);
/// Puts `json` in place of the member's text; a member that the object lacks is left out.
void setMember(Members& members, std::string_view name, std::string json);
std::string writeObject(const Members& members);

/// The members that every object begins with.
Members newObject(const std::string& id, std::string_view type);

/// `text` as a JSON string.
std::string quote(std::string_view text);
/// The text of a JSON string; "" of anything else.
std::string unquote(const std::string& json);

/// The content of a message with a text part for each of `texts`.
std::string writeContent(const std::vector<std::string>& texts);
/// The texts of a message's content, one after the other.
std::string readContent(const std::string& json);

/// A member that a client may send.
struct MemberRule {
  std::string_view name;
  std::optional<JsonType> type = {};  // not set: any
  std::size_t longest = 0;            // characters; 0: any number
  std::string_view usual = "null";    // told when it was not sent; "": it is never told
};

inline constexpr MemberRule kModelRule{.name = "model", .type = JsonType::String};
inline constexpr MemberRule kInstructionsRule{.name = "instructions", .type = JsonType::String, .longest = 256000};
inline constexpr MemberRule kToolsRule{.name = "tools", .type = JsonType::Array, .usual = "[]"};
inline constexpr MemberRule kToolResourcesRule{.name = "tool_resources", .type = JsonType::Object, .usual = "{}"};
inline constexpr MemberRule kMetadataRule{.name = "metadata", .type = JsonType::Object, .usual = "{}"};
inline constexpr MemberRule kTopPRule{.name = "top_p", .type = JsonType::Number, .usual = "1.0"};
inline constexpr MemberRule kTemperatureRule{.name = "temperature", .type = JsonType::Number, .usual = "1.0"};
inline constexpr MemberRule kFormatRule{.name = "response_format", .usual = "\"auto\""};
inline constexpr MemberRule kEffortRule{.name = "reasoning_effort", .type = JsonType::String, .usual = ""};

inline constexpr std::array kAssistantRules{
    MemberRule{.name = "name", .type = JsonType::String, .longest = 256},
    MemberRule{.name = "description", .type = JsonType::String, .longest = 512},
    kModelRule,
    kInstructionsRule,
    kToolsRule,
    kToolResourcesRule,
    kMetadataRule,
    kTopPRule,
    kTemperatureRule,
    kFormatRule,
    kEffortRule,
};

inline constexpr std::array kThreadRules{
    MemberRule{.name = "messages", .type = JsonType::Array, .usual = ""},
    kMetadataRule,
    kToolResourcesRule,
};

inline constexpr std::array kMessageRules{
    MemberRule{.name = "role", .type = JsonType::String},
    MemberRule{.name = "content"},
    MemberRule{.name = "attachments", .type = JsonType::Array, .usual = "[]"},
    kMetadataRule,
};

/// What a run takes over from its assistant unless it brings its own.
inline constexpr std::array kInheritedRules{
    kModelRule, kInstructionsRule, kToolsRule, kTopPRule, kTemperatureRule, kFormatRule,
};

inline constexpr std::array kRunRules{
    MemberRule{.name = "assistant_id", .type = JsonType::String},
    kModelRule,
    kInstructionsRule,
    kToolsRule,
    kMetadataRule,
    kTemperatureRule,
    kTopPRule,
    MemberRule{.name = "stream", .type = JsonType::Bool, .usual = ""},
    MemberRule{.name = "max_prompt_tokens", .type = JsonType::Number},
    MemberRule{.name = "max_completion_tokens", .type = JsonType::Number},
    MemberRule{
        .name = "truncation_strategy", .type = JsonType::Object, .usual = R"({"type":"auto","last_messages":null})"},
    kFormatRule,
    MemberRule{.name = "tool_choice", .usual = "\"auto\""},
    MemberRule{.name = "parallel_tool_calls", .type = JsonType::Bool, .usual = "true"},
    kEffortRule,
};

/// Adds the members of `rules` that are told: as `sent`, where they were sent and not null, else as usual.
void addMembers(Members& members, std::span<const MemberRule> rules, const Members& sent);
/// Puts what was `sent` in place of what `members` hold; what is usual for a null.
void changeMembers(Members& members, std::span<const MemberRule> rules, const Members& sent);
/// The members of `rules` that are in `body`.
Members readMembers(const COJsonValue& body, std::span<const MemberRule> rules);

}  // namespace standin

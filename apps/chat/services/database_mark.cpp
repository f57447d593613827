#include "services/database_mark.h"

#include "path_text.h"
#include "terminal/rendering.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace {

constexpr const char* kMember = "qai_chat";
constexpr const char* kName = "database";
constexpr const char* kStructure = "structure";

/// FNV-1a of 64 bits: the same everywhere, and nothing depends on nobody finding a second text for it.
std::string digest(std::string_view text) {
  constexpr std::uint64_t kBasis = 0xCBF29CE484222325U;
  constexpr std::uint64_t kPrime = 0x100000001B3U;
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::uint64_t hash = kBasis;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) digits += kDigits[(hash >> static_cast<unsigned>(shift)) & 0xFU];
  return digits;
}

std::string readText(const COJsonValue* object, const char* key) {
  const COJsonValue* value = cfFindJsonMember(object, key, JsonType::String);
  return value == nullptr ? "" : std::string(value->obtainString());
}

DatabaseMark readMark(const std::string& saved) {
  const COJson session(saved);
  if (!session.getIsValidJson()) return {};
  const COJsonValue* mark = cfFindJsonMember(&session, kMember, JsonType::Object);
  if (mark == nullptr) return {};
  return {.name = readText(mark, kName), .structure = readText(mark, kStructure)};
}

}  // namespace

DatabaseMark markDatabase(const std::string& path, const std::string& structureJson) {
  return {.name = cfToUTF8(makePathText(makePath(path).filename())), .structure = digest(structureJson)};
}

std::string withDatabase(const std::string& saved, const DatabaseMark& mark) {
  COJson session(saved);
  if (mark.name.empty() || !session.getIsValidJson()) return saved;
  COJsonValue* member = session.addKeyValue(kMember);
  member->setObject();
  member->addKeyValue(kName)->setString(mark.name);
  member->addKeyValue(kStructure)->setString(mark.structure);
  return session.obtainJsonString();
}

std::string consentToDatabase(const std::string& saved, const DatabaseMark& inUse, bool isAllowed,
                              const Consent& consent) {
  const DatabaseMark mark = readMark(saved);
  if (mark.name.empty() || (isAllowed && mark.name != inUse.name)) return "";
  if (mark.name == inUse.name) {
    return mark.structure == inUse.structure
               ? ""
               : "The structure of " + inUse.name + " is not what it was when the conversation was saved";
  }
  // A line each, whatever the file says.
  const std::string name = terminalSafeLine(inUse.name);
  const std::string saidName = terminalSafeLine(mark.name);
  if (!consent) {
    throw RestoreError(ExitCode::WrongUsage, "The saved conversation is about " + saidName + ", not about " + name +
                                                 ", and nobody is here to agree; --other-database permits that");
  }
  if (!consent("The saved conversation is about another database than the one in use.\n  in use: " + name +
               "\n  saved: " + saidName + "\nGo on with it over " + name + "?"))
    throw RestoreError(ExitCode::WrongUsage, "The conversation is not restored");
  return "";
}

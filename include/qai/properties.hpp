/// @file
/// Settings by name in place of keys; a part of qai.hpp.
#pragma once

#include <qai.h>
#include <qai/owners.hpp>
#include <qai/result.hpp>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qai {

/// Assigns properties inside Assistant::configure(). What the library refuses is remembered and told afterwards, by
/// Filled::refused(): it counts as assigned, so that it takes away what the assistant had before. The host guide says
/// what each property is for.
class Fill {
 public:
  /// For configure(), and for hosts that fill by the plain interface: assigns to `properties`, which it borrows.
  explicit Fill(IQAIProperties* properties) noexcept : properties_(properties) {}

  /// Each assigns one property; texts are UTF-8. Without a scheme the host gets "https://", blank it is the service's.
  Fill& apiHost(std::string host) { return assign("api_host", std::move(host)); }
  /// The model's identifier, one of Assistant::models(); required before a turn.
  Fill& model(std::string model) { return assign("model", std::move(model)); }
  /// From 0 to 2; the library holds it between them. What is not finite is refused here, and leaves the old one.
  Fill& temperature(double temperature) {
    // The record takes its number as a text only. The variant writes it as the shortest decimal, whatever the locale.
    if (std::isfinite(temperature)) return assign("temperature", CMVariant(temperature).stringValue());
    refused_.emplace_back("temperature");
    return *this;
  }
  /// What the user wants of the assistant.
  Fill& userInstructions(std::string text) { return assign("user_instructions", std::move(text)); }
  /// The application's own instructions by name, sent in the order of their names; in place of all earlier ones. With
  /// the Assistants service so at the service alone: Properties shows the earlier ones beside them.
  Fill& systemInstructions(std::map<std::string, std::string> instructions) {
    CMVariantMap values;
    for (auto& entry : instructions) values.emplace_hint(values.end(), entry.first, std::move(entry.second));
    return assign("system_instructions", std::move(values));
  }
  /// The database as JSON text: an array of catalogs. What is no JSON, and an empty text, is refused, and the old
  /// description is gone all the same.
  Fill& databaseStructure(std::string json) { return assign("db_structure", std::move(json)); }
  /// The same as a list of variants.
  Fill& databaseStructure(CMVariantList catalogs) { return assign("db_structure", std::move(catalogs)); }
  /// The assistant's name at the service. Known to the Assistants service alone; refused with the others.
  Fill& name(std::string name) { return assign("name", std::move(name)); }
  /// The assistant's description at the service; as name().
  Fill& description(std::string text) { return assign("description", std::move(text)); }

  /// Assigns any property by its key. @return whether it was taken; when not, the key counts as assigned all the same.
  bool set(const std::string& key, const CMVariant& value) {
    if (properties_->setProperty(key, value)) return true;
    refused_.push_back(key);
    return false;
  }

  /// The object underneath, borrowed: valid until configure() returns.
  IQAIProperties* native() const noexcept { return properties_; }

 private:
  friend class Assistant;

  Fill& assign(const char* key, const CMVariant& value) {
    set(key, value);
    return *this;
  }

  IQAIProperties* properties_;
  std::vector<std::string> refused_;
};

/// What became of Assistant::configure(): a success when the assistant accepted and nothing was refused. When it
/// accepted but keys were refused, the error names these; the other properties hold then. A key that the library
/// refused has the value of a fresh record then: an empty text, map or list, a temperature of 1, the service's public
/// host. So look at refused() before the next turn, and configure() again.
class [[nodiscard]] Filled : public Outcome {
 public:
  /// `error` is the assistant's, empty when it accepted.
  Filled(std::string error, std::vector<std::string> refused)
      : Filled(error.empty(), std::move(error), std::move(refused)) {}

  /// Whether the assistant accepted: what was not refused holds then, and the Assistants service keeps the assistant.
  /// When not, the error is the assistant's.
  bool accepted() const noexcept { return accepted_; }
  /// The keys whose values were refused, in the order of the calls: a mistake of the host's, not for the user.
  const std::vector<std::string>& refused() const noexcept { return refused_; }

 private:
  Filled(bool accepted, std::string&& error, std::vector<std::string>&& refused)
      : Outcome(accepted ? describe(refused) : std::move(error)), refused_(std::move(refused)), accepted_(accepted) {}

  static std::string describe(const std::vector<std::string>& refused) {
    std::string text;
    for (const std::string& key : refused) text.append(text.empty() ? "Refused: " : ", ").append(key);
    return text;
  }

  std::vector<std::string> refused_;
  bool accepted_;
};

/// An assistant's settings, to be read: as they were when they were asked for with the chat services, as they are with
/// the Assistants service, whose assistant they then keep alive.
class Properties {
 public:
  Properties() = default;

  /// False when empty.
  explicit operator bool() const noexcept { return properties_ != nullptr; }

  /// The service's base address.
  std::string apiHost() const { return text("api_host"); }
  /// "" while none was set.
  std::string model() const { return text("model"); }
  /// 1.0 while none was set.
  double temperature() const { return get("temperature").doubleValue(); }
  /// What the user wants of the assistant.
  std::string userInstructions() const { return text("user_instructions"); }
  /// The application's instructions by name.
  std::map<std::string, std::string> systemInstructions() const {
    const CMVariant value = get("system_instructions");
    std::map<std::string, std::string> instructions;
    for (const auto& [name, entry] : value.mapValue())
      instructions.emplace_hint(instructions.end(), name, entry.stringRef());
    return instructions;
  }
  /// The database as a list of catalogs, with the statements that were made of it.
  CMVariantList databaseStructure() const { return get("db_structure").listRef(); }
  /// All that the model is told before the conversation; made anew on each call.
  std::string combinedInstructions() const { return text("combined_instructions"); }
  /// The assistant's name at the service; "" but with the Assistants service.
  std::string name() const { return text("name"); }
  /// The assistant's description at the service; "" but with the Assistants service.
  std::string description() const { return text("description"); }

  /// The value of any key; Null for an unknown one.
  CMVariant get(const std::string& key) const { return properties_ ? properties_->obtainProperty(key) : CMVariant(); }
  /// All keys with a description of their types.
  std::vector<std::pair<std::string, std::string>> keys() const {
    return properties_ ? properties_->obtainPropertyList() : std::vector<std::pair<std::string, std::string>>();
  }

  /// The object underneath, owned by this one or by its assistant; null when empty.
  IQAIProperties* native() const noexcept { return properties_.get(); }

 private:
  friend class Assistant;
  using Pointer = std::unique_ptr<IQAIProperties, detail::FreeProperties>;

  explicit Properties(Pointer properties) noexcept : properties_(std::move(properties)) {}
  std::string text(const char* key) const { return get(key).stringValue(); }

  Pointer properties_;
};

}  // namespace qai

// The order of the virtual operations, read from running objects.
//
// A host calls by slot number, so the test does the same: it takes an operation from the object's table by its number,
// calls it and looks which one ran. Under the Itanium C++ ABI (section 2.5) a virtual destructor takes two entries, the
// complete and the deleting one.
#include <qai.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

/// Which operation ran last.
std::string called;

struct Section final : IQAIMessageSection {
  std::uint32_t obtainType() const override { return called = "obtainType", 0; }
  std::string_view obtainText() const override { return called = "obtainText", ""; }
};

struct Message final : IQAIMessage {
  std::int64_t obtainCreatedTime() const override { return called = "obtainCreatedTime", 0; }
  std::uint32_t obtainRole() const override { return called = "obtainRole", 0; }
  const std::vector<IQAIMessageSection*>& obtainSections() const override { return called = "obtainSections", none; }
  std::vector<IQAIMessageSection*> none;
};

struct Properties final : IQAIProperties {
  std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override {
    return called = "obtainPropertyList", std::vector<std::pair<std::string, std::string>>{};
  }
  CMVariant obtainProperty(const std::string& /*key*/) const override { return called = "obtainProperty", CMVariant(); }
  bool setProperty(const std::string& /*key*/, const CMVariant& /*value*/) override {
    return called = "setProperty", true;
  }
};

struct Session final : IQAISession {
  std::string obtainSessionData() const override { return called = "obtainSessionData"; }
};

struct Assistant final : IQAIAssistant {
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override {
    return called = "obtainAvailableModels", std::pair<std::vector<std::string>, std::string>{};
  }
  std::string setAssistantProperties(std::function<void(IQAIProperties*)> /*fill*/) override {
    return called = "setAssistantProperties";
  }
  IQAIProperties* obtainAssistantProperties() override { return called = "obtainAssistantProperties", nullptr; }
  std::pair<IQAISession*, std::string> createSession() override {
    return called = "createSession", std::pair<IQAISession*, std::string>{};
  }
  std::pair<IQAISession*, std::string> loadSession(std::string /*data*/) override {
    return called = "loadSession", std::pair<IQAISession*, std::string>{};
  }
  std::string destroySession(IQAISession* /*session*/) override { return called = "destroySession"; }
  std::pair<IQAIMessage*, std::string> addMessage(IQAISession* /*session*/, std::string /*text*/) override {
    return called = "addMessage", std::pair<IQAIMessage*, std::string>{};
  }
};

constexpr std::size_t kDestructorEntries = 2;
constexpr const char* kWhy = " moved: hosts built earlier call by slot number and would call something else";

/// Entry `slot` (counting the destructor as slot 0) of the table of `object`.
template <class Operation, class Interface>
Operation atSlot(const Interface& object, std::size_t slot) {
  const void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  const void* entry = table[kDestructorEntries + slot - 1];
  Operation operation = nullptr;
  static_assert(sizeof operation == sizeof entry);
  std::memcpy(&operation, &entry, sizeof operation);
  return operation;
}

#define EXPECT_CALLED(name) EXPECT_EQ(called, name) << name << kWhy

TEST(Slots, OfTheSection) {
  const Section object;
  const IQAIMessageSection& section = object;
  atSlot<std::uint32_t (*)(const IQAIMessageSection*)>(section, 1)(&section);
  EXPECT_CALLED("obtainType");
  atSlot<std::string_view (*)(const IQAIMessageSection*)>(section, 2)(&section);
  EXPECT_CALLED("obtainText");
}

TEST(Slots, OfTheMessage) {
  const Message object;
  const IQAIMessage& message = object;
  atSlot<std::int64_t (*)(const IQAIMessage*)>(message, 1)(&message);
  EXPECT_CALLED("obtainCreatedTime");
  atSlot<std::uint32_t (*)(const IQAIMessage*)>(message, 2)(&message);
  EXPECT_CALLED("obtainRole");
  atSlot<const std::vector<IQAIMessageSection*>& (*)(const IQAIMessage*)>(message, 3)(&message);
  EXPECT_CALLED("obtainSections");
}

TEST(Slots, OfTheProperties) {
  Properties object;
  IQAIProperties& properties = object;
  const std::string key;
  const CMVariant value;
  atSlot<std::vector<std::pair<std::string, std::string>> (*)(IQAIProperties*)>(properties, 1)(&properties);
  EXPECT_CALLED("obtainPropertyList");
  atSlot<CMVariant (*)(IQAIProperties*, const std::string&)>(properties, 2)(&properties, key);
  EXPECT_CALLED("obtainProperty");
  atSlot<bool (*)(IQAIProperties*, const std::string&, const CMVariant&)>(properties, 3)(&properties, key, value);
  EXPECT_CALLED("setProperty");
}

TEST(Slots, OfTheSession) {
  Session object;
  IQAISession& session = object;
  atSlot<std::string (*)(IQAISession*)>(session, 1)(&session);
  EXPECT_CALLED("obtainSessionData");
}

TEST(Slots, OfTheAssistant) {
  Assistant object;
  IQAIAssistant& assistant = object;
  using Models = std::pair<std::vector<std::string>, std::string>;
  using MadeSession = std::pair<IQAISession*, std::string>;
  atSlot<Models (*)(IQAIAssistant*)>(assistant, 1)(&assistant);
  EXPECT_CALLED("obtainAvailableModels");
  atSlot<std::string (*)(IQAIAssistant*, std::function<void(IQAIProperties*)>)>(assistant, 2)(&assistant, {});
  EXPECT_CALLED("setAssistantProperties");
  atSlot<IQAIProperties* (*)(IQAIAssistant*)>(assistant, 3)(&assistant);
  EXPECT_CALLED("obtainAssistantProperties");
  atSlot<MadeSession (*)(IQAIAssistant*)>(assistant, 4)(&assistant);
  EXPECT_CALLED("createSession");
  atSlot<MadeSession (*)(IQAIAssistant*, std::string)>(assistant, 5)(&assistant, "");
  EXPECT_CALLED("loadSession");
  atSlot<std::string (*)(IQAIAssistant*, IQAISession*)>(assistant, 6)(&assistant, nullptr);
  EXPECT_CALLED("destroySession");
  atSlot<std::pair<IQAIMessage*, std::string> (*)(IQAIAssistant*, IQAISession*, std::string)>(assistant, 7)(
      &assistant, nullptr, "");
  EXPECT_CALLED("addMessage");
}

/// A real assistant, called by number as an old host would: the library's own table has the same order.
TEST(Slots, OfARunningAssistant) {
  IQAIAssistant* assistant = QAICreateAssistant(OPENAI_v1, nullptr, "", "http://127.0.0.1:1");
  auto* properties = atSlot<IQAIProperties* (*)(IQAIAssistant*)>(*assistant, 3)(assistant);
  ASSERT_NE(properties, nullptr);
  EXPECT_EQ(properties->obtainProperty("api_host").stringValue(), "http://127.0.0.1:1");
  EXPECT_EQ(atSlot<std::string (*)(IQAIAssistant*, IQAISession*)>(*assistant, 6)(assistant, nullptr), "");
  QAIFreeObject(properties);
  QAIFreeObject(assistant);
}

}  // namespace

// The order of the virtual operations, read from running objects.
//
// A host calls by slot number, so the test does the same: it takes an operation from the object's table by its number,
// calls it and looks whether the one that ran is the one that contract.txt has in that slot. Under the Itanium C++ ABI
// (section 2.5) a virtual destructor takes two entries, the complete and the deleting one; under Microsoft's one. The
// extensions have none.
#include "contract.h"

#include <qai.h>
#include <qai_extensions.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

/// Which operation ran last, as the objects below tell.
std::string called;

struct TellingObject final : IQAIObject {
  ~TellingObject() override { called = "~IQAIObject"; }
};

struct TellingSection final : IQAIMessageSection {
  ~TellingSection() override { called = "~IQAIMessageSection"; }
  std::uint32_t obtainType() const override { return called = "obtainType", 0; }
  std::string_view obtainText() const override { return called = "obtainText", ""; }
};

struct TellingMessage final : IQAIMessage {
  ~TellingMessage() override { called = "~IQAIMessage"; }
  std::int64_t obtainCreatedTime() const override { return called = "obtainCreatedTime", 0; }
  std::uint32_t obtainRole() const override { return called = "obtainRole", 0; }
  const std::vector<IQAIMessageSection*>& obtainSections() const override { return called = "obtainSections", none; }
  std::vector<IQAIMessageSection*> none;
};

struct TellingProperties final : IQAIProperties {
  ~TellingProperties() override { called = "~IQAIProperties"; }
  std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override {
    return called = "obtainPropertyList", std::vector<std::pair<std::string, std::string>>{};
  }
  CMVariant obtainProperty(const std::string& /*key*/) const override { return called = "obtainProperty", CMVariant(); }
  bool setProperty(const std::string& /*key*/, const CMVariant& /*value*/) override {
    return called = "setProperty", true;
  }
};

struct TellingSession final : IQAISession {
  ~TellingSession() override { called = "~IQAISession"; }
  std::string obtainSessionData() const override { return called = "obtainSessionData"; }
};

struct TellingAssistant final : IQAIAssistant {
  ~TellingAssistant() override { called = "~IQAIAssistant"; }
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

struct TellingDoor final : IQAIExtensible {
  void* obtainExtension(const char* /*id*/) noexcept override { return called = "obtainExtension", nullptr; }
};

struct TellingStreaming final : IQAIStreaming {
  std::pair<IQAIMessage*, std::string> addMessageStreaming(IQAISession* /*session*/, std::string /*text*/,
                                                           const QAIStreamOptions& /*options*/,
                                                           const Sink& /*sink*/) override {
    return called = "addMessageStreaming", std::pair<IQAIMessage*, std::string>{};
  }
};

struct TellingDetails final : IQAIMessageDetails {
  std::string_view obtainFinishReason() const noexcept override { return called = "obtainFinishReason", ""; }
  std::string_view obtainRefusal() const noexcept override { return called = "obtainRefusal", ""; }
  std::int64_t obtainInputTokens() const noexcept override { return called = "obtainInputTokens", 0; }
  std::int64_t obtainOutputTokens() const noexcept override { return called = "obtainOutputTokens", 0; }
  std::int64_t obtainCachedTokens() const noexcept override { return called = "obtainCachedTokens", 0; }
  std::string_view obtainModel() const noexcept override { return called = "obtainModel", ""; }
  std::string_view obtainRequestIdentifier() const noexcept override { return called = "obtainRequestIdentifier", ""; }
};

/// Entry `entry` of the table of `object`, to be called on it: both ABIs pass a member function's arguments in an order
/// of its own, and begin the pointer to one with the function's address. Not for an interface behind an object's first
/// one: its entries may have odd addresses, which mean something else there.
template <class Operation, class Interface>
Operation atEntry(const Interface& object, std::size_t entry) {
  const void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  Operation operation = nullptr;
  static_assert(sizeof operation >= sizeof table[entry]);
  std::memcpy(&operation, &table[entry], sizeof table[entry]);
  return operation;
}

#if defined(_MSC_VER)
constexpr std::size_t kDestructorEntries = 1;

template <class Interface>
void destroy(Interface& object, bool andFree) {
  (object.*atEntry<void* (Interface::*)(unsigned)>(object, 0))(andFree ? 1 : 0);
}
#else
constexpr std::size_t kDestructorEntries = 2;

template <class Interface>
void destroy(Interface& object, bool andFree) {
  (object.*atEntry<void (Interface::*)()>(object, andFree ? 1 : 0))();
}
#endif

/// The operation in slot `slot`; the destructor, where there is one, is slot 0.
template <class Operation, class Interface>
Operation atSlot(const Interface& object, std::size_t slot) {
  return atEntry<Operation>(object, std::has_virtual_destructor_v<Interface> ? kDestructorEntries + slot - 1 : slot);
}

/// Calls the slots of one interface in their order, a destructor first, and compares what ran with the contract.
template <class Interface, class Implementation>
class SlotCaller {
 public:
  explicit SlotCaller(const std::string& interface) : names_(contractedSlots(interface)) {
    if constexpr (std::has_virtual_destructor_v<Interface>) callDestructor();
  }
  ~SlotCaller() { EXPECT_EQ(next_, names_.size()) << "not every slot of the contract was called"; }
  SlotCaller(const SlotCaller&) = delete;
  SlotCaller& operator=(const SlotCaller&) = delete;

  /// Calls the next slot with `arguments`.
  template <class Result, class... Parameters>
  void call(std::type_identity_t<Parameters>... arguments) {
    Interface& object = object_;
    (object.*atSlot<Result (Interface::*)(Parameters...)>(object, next_))(std::forward<Parameters>(arguments)...);
    expectCalled(next_++);
  }

 private:
  void callDestructor() {
    alignas(Implementation) std::byte place[sizeof(Implementation)];
    Interface* inPlace = new (place) Implementation;
    destroy(*inPlace, false);
    expectCalled(0);
    Interface* onHeap = new Implementation;
    destroy(*onHeap, true);
    expectCalled(0);
    next_ = 1;
  }
  void expectCalled(std::size_t slot) {
    EXPECT_EQ(called, names_.at(slot)) << "of slot " << slot << ": hosts built earlier call by slot number";
    called.clear();
  }

  std::vector<std::string> names_;
  std::size_t next_ = 0;
  Implementation object_;
};

using Named = std::pair<std::string, std::string>;

TEST(Slots, OfTheObject) { const SlotCaller<IQAIObject, TellingObject> object("IQAIObject"); }

TEST(Slots, OfTheSection) {
  SlotCaller<IQAIMessageSection, TellingSection> section("IQAIMessageSection");
  section.call<std::uint32_t>();
  section.call<std::string_view>();
}

TEST(Slots, OfTheMessage) {
  SlotCaller<IQAIMessage, TellingMessage> message("IQAIMessage");
  message.call<std::int64_t>();
  message.call<std::uint32_t>();
  message.call<const std::vector<IQAIMessageSection*>&>();
}

TEST(Slots, OfTheProperties) {
  SlotCaller<IQAIProperties, TellingProperties> properties("IQAIProperties");
  const std::string key;
  const CMVariant value;
  properties.call<std::vector<Named>>();
  properties.call<CMVariant, const std::string&>(key);
  properties.call<bool, const std::string&, const CMVariant&>(key, value);
}

TEST(Slots, OfTheSession) {
  SlotCaller<IQAISession, TellingSession> session("IQAISession");
  session.call<std::string>();
}

TEST(Slots, OfTheAssistant) {
  SlotCaller<IQAIAssistant, TellingAssistant> assistant("IQAIAssistant");
  assistant.call<std::pair<std::vector<std::string>, std::string>>();
  assistant.call<std::string, std::function<void(IQAIProperties*)>>({});
  assistant.call<IQAIProperties*>();
  assistant.call<std::pair<IQAISession*, std::string>>();
  assistant.call<std::pair<IQAISession*, std::string>, std::string>("");
  assistant.call<std::string, IQAISession*>(nullptr);
  assistant.call<std::pair<IQAIMessage*, std::string>, IQAISession*, std::string>(nullptr, "");
}

TEST(Slots, OfTheDoor) {
  SlotCaller<IQAIExtensible, TellingDoor> door("IQAIExtensible");
  door.call<void*, const char*>("");
}

TEST(Slots, OfStreaming) {
  SlotCaller<IQAIStreaming, TellingStreaming> streaming("IQAIStreaming");
  streaming.call<std::pair<IQAIMessage*, std::string>, IQAISession*, std::string, const QAIStreamOptions&,
                 const IQAIStreaming::Sink&>(nullptr, "", {}, {});
}

TEST(Slots, OfTheDetails) {
  SlotCaller<IQAIMessageDetails, TellingDetails> details("IQAIMessageDetails");
  details.call<std::string_view>();
  details.call<std::string_view>();
  details.call<std::int64_t>();
  details.call<std::int64_t>();
  details.call<std::int64_t>();
  details.call<std::string_view>();
  details.call<std::string_view>();
}

/// A real assistant, called by number as an old host would: the library's own table has the same order.
TEST(Slots, OfARunningAssistant) {
  IQAIAssistant* assistant = QAICreateAssistant(OPENAI_v1, nullptr, "", "http://127.0.0.1:1");
  auto* properties = (*assistant.*atSlot<IQAIProperties* (IQAIAssistant::*)()>(*assistant, 3))();
  ASSERT_NE(properties, nullptr);
  EXPECT_EQ(properties->obtainProperty("api_host").stringValue(), "http://127.0.0.1:1");
  EXPECT_EQ((*assistant.*atSlot<std::string (IQAIAssistant::*)(IQAISession*)>(*assistant, 6))(nullptr), "");
  QAIFreeObject(properties);
  QAIFreeObject(assistant);
}

}  // namespace

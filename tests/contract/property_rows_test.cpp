// Each key of each service's record goes all the way: set by a host, adopted, read, saved and restored. A key that a
// service lists has a row here, which gives its values or says why it stops on the way.
#include "fixture.h"
#include "support/assertion_log.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <set>

namespace {

struct PropertyRow {
  const char* key;
  CMVariant set;               // by the host; null: it is computed
  std::string read;            // as JSON, once adopted
  std::string saved;           // as JSON; empty: it is not saved
  const char* whyNotRestored;  // null: it is, and reads as before
};

const char* const kStructure = R"([{"schemas":[{"tables":[{"name":"t","fields":[]}]}]}])";

std::string quoted(const std::string& text) { return cfWriteJson(CMVariant(text)); }

std::vector<PropertyRow> rowsFor(const std::string& host, const std::string& model) {
  return {
      {"api_host", host, quoted(host), quoted(host), nullptr},
      {"model", model, quoted(model), quoted(model), nullptr},
      {"temperature", "0.25", "0.25", "0.25", "a record refuses a number, and a saved one is a number"},
      {"user_instructions", "U", R"("U")", R"("U")", nullptr},
      {"system_instructions", CMVariantMap{{"a", "x"}}, R"({"a":"x"})", R"([{"key":"a","value":"x"}])", nullptr},
      {"db_structure", kStructure, R"-([{"instructions":[],"schemas":[{"instructions":["CREATE TABLE `t` ()"]}]}])-",
       quoted(kStructure), nullptr},
      {"combined_instructions", CMVariant(), R"("U\n\nx\nCREATE TABLE `t` ()\n\n")", "", nullptr},
      {"name", "N", R"("N")", R"("N")", nullptr},
      {"description", "D", R"("D")", R"("D")", nullptr},
  };
}

class PropertyRows : public EachService {
 protected:
  std::string host() const { return standin_.address(); }

  Owned<IQAIAssistant> create() { return bareAssistant(CF::createHTTPPoolCenter()); }

  /// The rows of the keys that the service's record lists. A key without a row is a failure.
  std::vector<PropertyRow> rows() {
    std::vector<PropertyRow> rows;
    std::string unknown;
    create()->setAssistantProperties([&](IQAIProperties* properties) {
      for (const auto& [key, description] : properties->obtainPropertyList()) {
        const std::vector<PropertyRow> all = rowsFor(host(), service_.model);
        const auto row =
            std::find_if(all.begin(), all.end(), [&name = key](const auto& each) { return each.key == name; });
        if (row == all.end()) {
          unknown += " " + key;
        } else {
          rows.push_back(*row);
        }
      }
    });
    EXPECT_EQ(unknown, "") << "has no row";
    EXPECT_GE(rows.size(), 7U);
    return rows;
  }

  Owned<IQAIAssistant> createFilled() {
    Owned<IQAIAssistant> assistant = create();
    const std::string error = assistant->setAssistantProperties([this](IQAIProperties* properties) {
      for (const PropertyRow& row : rows()) {
        EXPECT_TRUE(row.set.isNull() || properties->setProperty(row.key, row.set)) << row.key;
      }
    });
    EXPECT_EQ(error, "");
    return assistant;
  }

  const AssertionLog log_;  // of a temperature that is a text
};
INSTANTIATE_TEST_SUITE_P(All, PropertyRows, testing::ValuesIn(allServices()), serviceName);

TEST_P(PropertyRows, AreAdoptedAndReadBack) {
  const Owned<IQAIAssistant> assistant = createFilled();
  for (const PropertyRow& row : rows()) EXPECT_EQ(cfWriteJson(property(*assistant, row.key)), row.read) << row.key;
}

TEST_P(PropertyRows, AreSavedAndRestored) {
  const Owned<IQAIAssistant> assistant = createFilled();
  const Owned<IQAISession> session = newSession(*assistant);
  ASSERT_NE(session, nullptr);
  const std::string text = session->obtainSessionData();
  const COJson saved(text);
  for (const PropertyRow& row : rows()) {
    const COJsonValue* member = saved.obtainJsonValue(row.key);
    EXPECT_EQ(member == nullptr ? "" : member->obtainJsonString(), row.saved) << row.key;
  }

  const Owned<IQAIAssistant> other = create();
  const auto [restored, error] = other->loadSession(text);
  const Owned<IQAISession> owned(restored);
  EXPECT_EQ(error, "");
  const Owned<IQAIAssistant> fresh = create();
  for (const PropertyRow& row : rows()) {
    const bool isRestored = row.whyNotRestored == nullptr;
    const std::string expected = isRestored ? row.read : cfWriteJson(property(*fresh, row.key));
    EXPECT_EQ(cfWriteJson(property(*other, row.key)), expected) << row.key;
  }
}

TEST(PropertyTable, HasNoRowForAKeyThatNoServiceLists) {
  std::set<std::string> listed;
  for (const TestedService& service : allServices()) {
    const Owned<IQAIAssistant> assistant(QAICreateAssistant(service.type, nullptr, kKey, ""));
    assistant->setAssistantProperties([&](IQAIProperties* properties) {
      for (const auto& [key, description] : properties->obtainPropertyList()) listed.insert(key);
    });
  }
  for (const PropertyRow& row : rowsFor("", "")) EXPECT_TRUE(listed.contains(row.key)) << row.key;
}

}  // namespace

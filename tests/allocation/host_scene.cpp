#include "host_scene.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace {

const std::string kStructure =
    R"([{"catalog_id":"c1","catalog_name":"shop","schemas":[{"schema_id":"s1","schema_name":"public","tables":[)"
    R"({"name":"products","fields":[{"name":"id","type":"INTEGER"},{"name":"name","type":"TEXT"}],"pkeys":["id"],)"
    R"("fkeys":[{"fields":["id"],"ref_schema":"public","ref_table":"orders","ref_fields":["id"]}]},)"
    R"({"name":"orders","fields":[{"name":"id","type":"INTEGER"}]}],"views":[{"name":"best \"of\" all","fields":[]}]}]}])";

Settings firstSettings(const TestedService& service) {
  Settings settings{{"model", service.model},
                    {"user_instructions", "Answer in one sentence of ordinary length."},
                    {"system_instructions", CMVariantMap{{"tone", "Be kind to everyone who asks anything."}}}};
  return settings;
}

}  // namespace

Settings furtherSettings(const TestedService& service, const std::string& address) {
  Settings settings{
      {"api_host", "  " + address + "  "},
      {"model", service.model},
      {"temperature", "0.25"},
      {"user_instructions", "Answer with nothing but SQL, and explain what it does."},
      {"system_instructions",
       CMVariantMap{{"tone", ""}, {"what is there to be said of the dialect", "It is SQLite's own dialect."}}},
      {"db_structure", kStructure}};
  if (service.keepsConversations) {
    settings["name"] = "The shop's own assistant, by name";
    settings["description"] = "Knows all there is to know about the shop.";
  }
  return settings;
}

std::string withoutIDs(const std::string& text) {
  constexpr std::array<std::string_view, 2> kStarts{"asst_", "thread_"};
  std::string result = text;
  for (const std::string_view start : kStarts) {
    for (std::size_t at = 0; (at = result.find(start, at)) != std::string::npos;) {
      at += start.size();
      const auto begin = result.begin() + static_cast<std::ptrdiff_t>(at);
      result.erase(begin,
                   std::find_if(begin, result.end(), [](unsigned char c) { return c != '_' && std::isalnum(c) == 0; }));
    }
  }
  return result;
}

std::string describe(const IQAIProperties& properties) {
  CMVariantMap all;
  for (const auto& [key, description] : properties.obtainPropertyList()) all[key] = properties.obtainProperty(key);
  return cfWriteJson(all);
}

HostScene::HostScene(const TestedService& service, const standin::Server& server, Begin begin)
    : service_(service), server_(server) {
  assistant_.reset(QAICreateAssistant(service.type, CF::createHTTPPoolCenter(), kKey, server.address()));
  if (begin == Begin::Created) return;
  EXPECT_EQ(assign(*assistant_, firstSettings(service)), "");
  if (begin == Begin::Configured) return;
  session_ = newSession(*assistant_);
  EXPECT_NE(session_, nullptr);
  ask(*assistant_, session_.get(), "the first question");
}

std::string HostScene::settings() const {
  const Owned<IQAIProperties> properties(assistant_->obtainAssistantProperties());
  std::string text = describe(*properties);
  if (keepsConversations()) static_cast<void>(const_cast<Owned<IQAIProperties>&>(properties).release());
  return text;
}

std::string HostScene::state() const {
  return settings() + "\n" + (session_ == nullptr ? "" : withoutIDs(session_->obtainSessionData()));
}

Swept::Swept() : Contract(GetParam(), {.apiKey = kKey}) {
  CMRestGlobalSettings settings;
  settings.totalTimeout = std::chrono::seconds(5);  // nothing here takes long, unless it hangs
  QAISetHTTPSettings(settings);
}

Swept::~Swept() = default;

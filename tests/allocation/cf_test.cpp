// The foundation's operations with memory running out at each of their allocations.
#include "support/raw_server.h"
#include "sweep.h"

#include <cf/app.h>
#include <cf/json_shortcuts.h>
#include <cf/rest.h>
#include <cf/text.h>
#include <cf/url.h>
#include <cf/variant.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace {

/// An operation that takes nothing and gives a text.
class Doing : public Scene {
 public:
  explicit Doing(const std::function<std::string()>& action) : action_(action) {}

  void run() override {
    done_ = false;
    result_ = action_();
    done_ = true;
  }
  bool succeeded() const override { return done_; }
  std::string result() const override { return result_; }

 private:
  const std::function<std::string()>& action_;
  std::string result_;
  bool done_ = false;
};

std::size_t sweepOf(const std::string& name, const std::function<std::string()>& action) {
  return sweep(name, [&action] { return std::make_unique<Doing>(action); });
}

CMVariant nestedVariant() {
  const std::string text = "a text that does not fit into a short string";
  const CMVariantMap map{{"name of a member that is long", text}, {"number", 0.5}, {"list", CMVariantList{text, text}}};
  return CMVariantMap{{"first", map}, {"second", CMVariantList{map, CMVariant(), 1.0}}};
}

/// A document with all kinds of values, more than fit where the first ones go, and with what `further` adds.
std::string jsonText(const std::string& further) {
  std::string text = R"({"items":[)";
  for (int i = 0; i < 200; ++i) text += "{\"name\":\"item\",\"tags\":[\"" + std::to_string(i) + "\",true,null,1.5]},";
  return text + R"({"last":[[[[[]]]]]}],"further":)" + further + "}";
}

struct JsonCase {
  const char* name;
  std::string text;
};
std::vector<JsonCase> jsonCases() {
  return {{"plain", jsonText("1")},
          {"escapes", jsonText(R"("\u00e4\n\"\\ and more")")},
          {"numbers beyond a double", jsonText("[1e400,-1e400,1e-400]")},
          {"a long key", jsonText("{\"" + std::string(70'000, 'k') + "\":1}")},
          {"cut", jsonText("[1,2").substr(0, jsonText("").size())}};
}

TEST(Variants, AreCopied) {
  const CMVariant value = nestedVariant();
  EXPECT_GT(sweepOf("copy", [&value] { return cfWriteJson(CMVariant(value)); }), 10U);
  class Assignment : public Scene {
   public:
    explicit Assignment(const CMVariant& value) : value_(value) {}
    void run() override { target_ = value_; }
    bool succeeded() const override { return target_.getValueType() == value_.getValueType(); }
    std::string state() const override { return cfWriteJson(target_); }

   private:
    const CMVariant& value_;
    CMVariant target_{"what was there before, in a text of some length"};
  };
  EXPECT_GT(sweep("assignment", [&value] { return std::make_unique<Assignment>(value); }), 10U);
}

TEST(JSON, IsRead) {
  for (const JsonCase& row : jsonCases()) {
    const std::string name = row.name;
    const auto told = [](const COJson& json) { return json.getIsValidJson() ? json.obtainJsonString() : "invalid"; };
    EXPECT_GT(sweepOf("reading " + name, [&] { return told(COJson(row.text)); }), 3U);
    EXPECT_GT(sweepOf("reading in place " + name, [&] { return told(COJson::readReference(row.text)); }), 3U);
    sweepOf("checking " + name, [&] { return std::string(cfIsJson(row.text) ? "valid" : "invalid"); });
  }
}

TEST(JSON, IsBuiltAndWritten) {
  const CMVariant value = nestedVariant();
  EXPECT_GT(sweepOf("writing of a variant", [&] { return cfWriteJson(value); }), 3U);
  EXPECT_GT(sweepOf("document of a variant", [&] { return cfCreateCOJsonFromCMVariant(value).obtainJsonString(); }),
            5U);
  EXPECT_GT(sweepOf("building",
                    [&] {
                      COJson json;
                      for (int i = 0; i < 100; ++i) {
                        COJsonValue* item = json.addKeyValue("list")->addArrayItem();
                        item->addKeyValue("text")->setString("a text that does not fit into a short string");
                        item->addKeyValue("list of what is there")->addArrayItem()->setNumber(i);
                      }
                      json.addKeyValue(std::string(70'000, 'k'))->setInteger(1);
                      for (int i = 0; i < 80; ++i) json.addKeyValue("k" + std::to_string(i % 50))->addArrayItem();
                      return json.obtainJsonString();
                    }),
            5U);
  EXPECT_GT(sweepOf("adding to what was read",
                    [&] {
                      COJson json(R"({"items":[1,2,3]})");
                      json.addKeyValue("further")->setString("text");
                      return json.obtainJsonString();
                    }),
            3U);
}

TEST(Texts, AreMade) {
  const std::string text = "  caf\xC3\xA9 \xFF and a good deal more than that  ";
  EXPECT_GT(sweepOf("texts",
                    [&text] {
                      std::string json;
                      cfAppendJsonString(json, text);
                      return json + cfToUTF8(text) + cfTrimAsString(text) + cfEncodeQueryText(text) +
                             cfConcatURL({"http://host.example", "a path", text}) + cfNumberToText(1e300 / 3);
                    }),
            5U);
}

/// A request of one of the three methods, or one whose reply is received while it comes, with a pool or without.
class Request : public Scene, private ICSRestReceiver {
 public:
  enum class Method { Get, Post, Delete, PostStreaming };

  Request(const RawServer& server, Method method, bool withPool) : server_(server), method_(method) {
    if (withPool) pool_.reset(CF::createHTTPPoolCenter());
    session_.httpPoolCenter = pool_.get();
    session_.setAuthorizationHeaderValue("Bearer " + std::string(40, 'k'));
    settings_.totalTimeout = std::chrono::seconds(5);
    address_ = server.getURL() + "/v1/a/path/of/some/length";
    body_.addKeyValue("question")->setString("a question that does not fit into a short string");
  }

  void run() override {
    response_.reset();
    received_.clear();
    ICSAppFactory* app = CF::obtainAppFactory();
    client_.reset(app->obtainRestClientFactory()->createRestClient(app, settings_, &session_));
    CMRestResourceResponse* response = nullptr;
    code_ = -1;
    code_ = execute(&response);
    response_.reset(response);
    app->obtainErrorDescriptionService()->describeError(code_, client_.get(), error_);
  }
  bool succeeded() const override { return code_ == 0 && response_ != nullptr; }
  std::string result() const override {
    return succeeded() ? response_->getBufferString() + received_ : error_.message;
  }
  /// A request that arrives is whole, and the same each time.
  std::string complaint() const override {
    const std::vector<std::string> requests = server_.getRequests();
    return requests.back() == requests.front() ? "" : requests.back();
  }

 private:
  std::int32_t execute(CMRestResourceResponse** response) {
    const CMRestParams query{{"run_id", "a value of some length, with spaces"}, {"key", "value"}};
    if (method_ == Method::Get) {
      CMRestGetRequest request;
      request.setURL(address_);
      request.addQueryParams(query);
      request.addHeaderParams({{"X-Further", "a header's value of some length"}});
      return client_->executeGet(request, response);
    }
    if (method_ == Method::Post) {
      CMRestPostRequest request;
      request.setURL(address_);
      request.addQueryParams(query);
      request.updateJson(&body_);
      return client_->executePost(request, response);
    }
    if (method_ == Method::PostStreaming) {
      CMRestPostRequest request;
      request.setURL(address_);
      request.updateJson(&body_);
      return client_->executePostStreaming(request, *this, response);
    }
    CMRestDeleteRequest request;
    request.setURL(address_);
    return client_->executeDelete(request, response);
  }

  bool begin(std::int32_t status, std::string_view /*contentType*/, std::string_view /*beginning*/) override {
    return status == 200;
  }
  bool receive(std::string_view part) override {
    received_ += part;
    return true;
  }
  bool isStopped() noexcept override { return false; }

  const RawServer& server_;
  const Method method_;
  std::string received_;
  std::unique_ptr<ICSHTTPPoolCenter> pool_;
  CMRestSession session_;
  CMRestGlobalSettings settings_;
  std::string address_;
  COJson body_;
  std::unique_ptr<ICSRestClient> client_;
  std::unique_ptr<CMRestResourceResponse> response_;
  CSErrorRecord error_;
  std::int32_t code_ = -1;
};

TEST(Requests, AreWholeOrFail) {
  using Method = Request::Method;
  for (const Method method : {Method::Get, Method::Post, Method::Delete, Method::PostStreaming}) {
    for (const bool withPool : {false, true}) {
      RawServer server(raw::reply(200, R"({"answer":"a reply of which all is there"})"));
      const std::string name = "request " + std::to_string(static_cast<int>(method)) + (withPool ? " pooled" : "");
      EXPECT_GT(sweep(name, [&] { return std::make_unique<Request>(server, method, withPool); }), 50U);
    }
  }
}

TEST(Requests, PoolCentersAreMade) {
  EXPECT_GT(sweepOf("pool centre",
                    [] {
                      const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
                      pool->cancel();
                      return std::string();
                    }),
            3U);
}

}  // namespace

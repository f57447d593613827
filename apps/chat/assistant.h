// The library's objects with their owners, and the conversation held through them.
#pragma once

#include "conversation.h"
#include "providers.h"

#include <qai.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

struct QAIFree {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};
template <class Interface>
using QAIOwned = std::unique_ptr<Interface, QAIFree>;

/// Where an assistant's requests go.
struct Service {
  const Provider* provider = nullptr;
  std::string host;  // empty: the provider's own
  std::string apiKey;
  CMRestGlobalSettings settings;
};

/// What an assistant is told. Empty texts stay unset.
struct Setup {
  std::string model;
  std::string temperature;
  std::string instructions;
  std::string productName;
  std::string structureJson;
};

/// One assistant with one conversation at a time. Used by one thread but for cancel().
class Assistant final : public Answerer {
 public:
  explicit Assistant(Service service);
  ~Assistant() override;

  /// The service's models and an error text. One HTTP exchange.
  std::pair<std::vector<std::string>, std::string> listModels();
  /// @return an error text, "" when everything was taken.
  std::string configure(const Setup& setup);
  /// All that the model is told before the first question.
  std::string combinedInstructions() { return readProperty("combined_instructions"); }

  std::string startConversation() override;
  Answer ask(const std::string& question) override;
  /// May send one request to the service to see whether it takes the key.
  ExitCode failureCode() override;

  /// Ends the request in flight, or the next one. May be called from any thread.
  void cancel() noexcept { pool_->cancel(); }
  /// After a cancelled request: takes back a cancel that came when the request was over and would end the next one.
  void dropLateCancel();

 private:
  std::string readProperty(const std::string& key);
  void endConversation();

  Service service_;
  ICSHTTPPoolCenter* pool_ = nullptr;  // the assistant's
  QAIOwned<IQAIAssistant> assistant_;
  QAIOwned<IQAISession> session_;  // after the assistant, which it refers to
  bool keyAccepted_ = false;       // some request succeeded
  bool lastSucceeded_ = false;
};

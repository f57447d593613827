// An assistant of one service in a sweep.
#pragma once

#include "contract/fixture.h"
#include "sweep.h"

#include <memory>
#include <string>
#include <vector>

/// All settings at once, each different from what a scene begins with.
Settings furtherSettings(const TestedService& service, const std::string& address);

/// `text` without the identifiers that the Assistants service gave.
std::string withoutIDs(const std::string& text);

/// All that `properties` tell.
std::string describe(const IQAIProperties& properties);

/// An assistant at a stand-in, with a pool, settings, and a session with one turn behind it.
class HostScene : public Scene {
 public:
  enum class Begin { Created, Configured, InSession };

  HostScene(const TestedService& service, const standin::Server& server, Begin begin = Begin::InSession);

  /// The settings and the conversation.
  std::string state() const override;

 protected:
  /// The settings, as a copy where the assistant gives one.
  std::string settings() const;
  bool keepsConversations() const { return service_.keepsConversations; }

  const TestedService& service_;
  const standin::Server& server_;
  Owned<IQAIAssistant> assistant_;
  Owned<IQAISession> session_;
};

/// One case for each service; gives the scenes what they need.
class Swept : public Contract, public testing::WithParamInterface<TestedService> {
 protected:
  Swept();
  ~Swept() override;

  /// Sweeps `MadeScene(service, stand-in, arguments…)` under the name of the service and of the test.
  template <class MadeScene, class... Arguments>
  std::size_t sweepOf(const std::string& name, const Arguments&... arguments) {
    return sweep(std::string(service_.name) + " " + name,
                 [&] { return std::make_unique<MadeScene>(service_, standin_, arguments...); });
  }
};

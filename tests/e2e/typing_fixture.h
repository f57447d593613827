// Somebody who types at a terminal.
#pragma once

#include "workplace.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

class Typing : public Workplace {
 protected:
  Command command(const char* terminal = "xterm", std::vector<std::string> environment = {}) const {
    Command command = chatWith(server_, {"--model", kModel, shop_});
    for (const std::string& entry :
         {"TERM=" + std::string(terminal), "XDG_STATE_HOME=" + path("state"), "TMPDIR=" + toText(folder_.path())})
      command.environment.push_back(entry);
    command.environment.insert(command.environment.end(), environment.begin(), environment.end());
    return command;
  }

  /// What the service was asked last, as JSON.
  std::string lastBody() const { return server_.requests().empty() ? "" : server_.requests().back().body; }
  /// Waits for the answer to what was typed. @return what the service was asked
  std::string answered(TerminalChild& chat) const {
    EXPECT_THAT(chat.waitFor("FROM customers"), testing::HasSubstr("FROM customers"));
    waitForPrompt(chat);
    return lastBody();
  }
  static void waitForPrompt(TerminalChild& chat) { EXPECT_THAT(chat.waitFor("> "), testing::EndsWith("> ")); }
  void end(TerminalChild& chat) const {
    chat.typeEnd();
    EXPECT_EQ(chat.finish(), 0);
  }

  standin::Server server_;
};

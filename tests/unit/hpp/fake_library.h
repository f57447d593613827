// A library behind qai.h that writes down what happens to its objects. It takes the place of libqai in a test program.
#pragma once

#include <qai.h>

#include <string>
#include <vector>

/// What happened, oldest first: "+assistant", "-session", "call addMessage" and the like.
std::vector<std::string>& libraryLog();

/// What the next calls of the library do.
struct LibraryScript {
  bool throwsOnCreation = false;
  std::string error{};                         // of every operation that can fail
  std::vector<std::string> sections{"reply"};  // of the next messages
};
LibraryScript& libraryScript();

/// Starts over: an empty log, and no script.
void resetLibrary();

/// A pool centre that writes "-pool" and "call cancel" into the log.
ICSHTTPPoolCenter* makeLoggedPool();

/// The callback that is registered; null for none.
QAICallback registeredCallback();

// A host that loads the library and unloads it, again and again, with a turn and a streamed one in between.
//
// loading_host LIBRARY ADDRESS: ends with 0 when nothing stays behind, else says what. It has a process of its own, in
// which only the library could start a thread or keep memory; the stand-in at ADDRESS is in another.
#include "process_state.h"
#include "support/services.h"

#include <qai.h>
#include <qai_extensions.h>

#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace {

// As the Itanium C++ ABI writes the exported functions' names.
constexpr const char* kCreate =
    "_Z18QAICreateAssistant16QAIAssistantTypeP17ICSHTTPPoolCenterRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
    "S9_";
constexpr const char* kFree = "_Z13QAIFreeObjectP10IQAIObject";

constexpr int kRounds = 2;   // over all services, until all that stays for good is there
constexpr int kLoads = 100;  // after these
/// How much more memory may be allocated after the loads than before: less than the smallest allocation, 16 bytes, in
/// each turn of one service.
constexpr std::size_t kHeapGrowth = 256;

void expect(bool holds, const std::string& otherwise) {
  if (!holds) throw std::runtime_error(otherwise);
}

/// The exported functions that a turn needs, and owners that free with them.
struct Exports {
  explicit Exports(const LoadedLibrary& library)
      : create(library.find<decltype(&QAICreateAssistant)>(kCreate)),
        free(library.find<decltype(&QAIFreeObject)>(kFree)) {}

  template <class Object>
  auto own(Object* object) const {
    return std::unique_ptr<Object, decltype(&QAIFreeObject)>(object, free);
  }

  decltype(&QAICreateAssistant) create;
  decltype(&QAIFreeObject) free;
};

/// Looked at from inside an operation, and after it: nobody runs but who did when the host began, which is the host
/// itself and what a sanitizer may have started. On Windows the system starts threads whenever it likes.
void expectNoFurtherThread(const char* when) {
  static const std::size_t atFirst = currentHoldings().threads;
  const std::size_t threads = currentHoldings().threads;
  expect(!kCountsStartedThreads || threads == atFirst, std::to_string(threads) + " threads " + when);
}

std::string textOf(const IQAIMessage& reply) {
  std::string text;
  for (const IQAIMessageSection* section : reply.obtainSections()) text += section->obtainText();
  return text;
}

/// Through the door, whose type the host has twice: as it was compiled, and as the library that it loaded has it.
void takeStreamedTurn(const Exports& exports, IQAIAssistant* assistant, IQAISession* session) {
  auto* streaming = qaiExtension<IQAIStreaming>(assistant);
  expect(streaming != nullptr, "the assistant has no door to streamed turns");
  std::string pieces;
  const auto [message, error] = streaming->addMessageStreaming(session, "What else?", {}, [&](std::string_view piece) {
    pieces += piece;
    expectNoFurtherThread("while a reply comes");
    return true;
  });
  const auto reply = exports.own(message);
  expect(error.empty() && reply != nullptr, "no streamed reply: " + error);
  expect(!pieces.empty() && pieces == textOf(*reply), "pieces that are not the reply");
  expect(qaiExtension<IQAIMessageDetails>(reply.get()) != nullptr, "the reply has no door to its details");
}

void takeTurns(const Exports& exports, const TestedService& service, const std::string& address) {
  const auto assistant = exports.own(exports.create(service.type, CF::createHTTPPoolCenter(), "sk-loading", address));
  expect(assistant != nullptr, "no assistant");
  const std::string refusal = assistant->setAssistantProperties([&service](IQAIProperties* properties) {
    properties->setProperty("model", service.model);
    expectNoFurtherThread("while the settings are made");
  });
  expect(refusal.empty(), refusal);
  const auto [opened, sessionError] = assistant->createSession();
  const auto session = exports.own(opened);
  expect(sessionError.empty(), sessionError);
  const auto [message, error] = assistant->addMessage(session.get(), "What is here?");
  const auto reply = exports.own(message);
  expect(error.empty() && reply != nullptr, "no reply: " + error);
  expect(!textOf(*reply).empty(), "an empty reply");
  takeStreamedTurn(exports, assistant.get(), session.get());
  const std::string remains = assistant->destroySession(session.get());
  expect(remains.empty(), remains);
  expectNoFurtherThread("after the turns");
}

void loadAndUnload(const std::string& path, const TestedService& service, const std::string& address) {
  {
    const LoadedLibrary library(path);
    expect(isMapped(path), "a loaded library that is not found in the process");
    takeTurns(Exports(library), service, address);
  }
  expect(!isMapped(path), "the library is still there after it was unloaded");
}

void loadOften(int times, const std::string& path, const std::string& address) {
  for (int i = 0; i < times; ++i)
    loadAndUnload(path, allServices()[static_cast<std::size_t>(i) % allServices().size()], address);
}

/// Else the count of started threads would prove nothing.
void expectThreadsToCount() {
  if (!kCountsStartedThreads) return;
  const std::size_t before = startedThreads();
  std::thread([] {}).join();
  expect(startedThreads() == before + 1, "a started thread was not counted");
}

void run(const std::string& path, const std::string& address) {
  expectNoFurtherThread("at the beginning");
  const std::size_t startedBefore = startedThreads();
  loadOften(kRounds * static_cast<int>(allServices().size()), path, address);
  const Holdings before = currentHoldings();
  loadOften(kLoads, path, address);
  const Holdings after = currentHoldings();

  std::cout << "after " << kLoads << " loads: " << before.heapBytes << " -> " << after.heapBytes << " bytes, "
            << before.descriptors << " -> " << after.descriptors << " descriptors, " << before.threads << " -> "
            << after.threads << " threads, " << startedThreads() - startedBefore << " threads started\n";
  expect(after.heapBytes <= before.heapBytes + kHeapGrowth, "memory stays behind");
  expect(after.descriptors <= before.descriptors, "descriptors stay behind");
  expect(after.threads <= before.threads, "threads stay behind");
  expect(startedThreads() == startedBefore, "threads were started");
  expectThreadsToCount();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    expect(argc == 3, "usage: loading_host LIBRARY ADDRESS");
    run(argv[1], argv[2]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "loading_host: " << error.what() << '\n';
    return 1;
  }
}

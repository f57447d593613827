// Saving and restoring long sessions, listing models, and how the time grows with the size.
#include "description.h"
#include "qai_assistant_properties.h"
#include "qai_chat_completions.h"
#include "ratio.h"

#include <qai.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

namespace {

struct Free {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

std::string makeSavedSession(std::size_t entries) {
  const std::string entry = makeEntry();
  COJson saved;
  COJsonValue* messages = saved.addKeyValue("messages");
  messages->setArray();
  for (std::size_t i = 0; i < entries; ++i) {
    COJsonValue* message = messages->addArrayItem();
    message->addKeyValue("role")->setStringReference(i % 2 == 0 ? "user" : "assistant");
    message->addKeyValue("content")->setStringReference(entry);
  }
  return saved.obtainJsonString();
}

/// A session of `entries` entries, its saved text, and that text as a document.
class Saved {
 public:
  explicit Saved(std::size_t entries)
      : text_(makeSavedSession(entries)),
        document_(text_),
        assistant_(QAICreateAssistant(OPENAI_v1, nullptr, "", "")),
        session_(assistant_->loadSession(text_).first) {}

  void save() const { benchmark::DoNotOptimize(session_->obtainSessionData().size()); }
  /// @param text the saved text, which the library takes over.
  void restore(std::string text) const {
    const std::unique_ptr<IQAISession, Free> session(assistant_->loadSession(std::move(text)).first);
  }
  const std::string& text() const { return text_; }
  void serialise() const { benchmark::DoNotOptimize(document_.obtainJsonString().size()); }
  void parse() const { benchmark::DoNotOptimize(COJson(text_).getIsValidJson()); }

 private:
  std::string text_;
  COJson document_;
  std::unique_ptr<IQAIAssistant, Free> assistant_;
  std::unique_ptr<IQAISession, Free> session_;
};

using Call = std::function<void()>;
/// Gives calls of one size, as many as are wanted, each with what it uses up.
using Prepare = std::function<std::vector<Call>(std::size_t calls)>;

double secondsOf(const std::vector<Call>& calls) {
  const auto begin = std::chrono::steady_clock::now();
  for (const Call& call : calls) call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The slope of time over size, both as logarithms, over five steps of ten.
double growthOf(const std::function<Prepare(std::size_t size)>& make) {
  constexpr std::size_t kSizes[] = {1, 10, 100, 1000, 10000, 100000};
  std::vector<double> xs;
  std::vector<double> ys;
  for (const std::size_t size : kSizes) {
    const Prepare prepare = make(size);
    const std::size_t calls = std::max<std::size_t>(1, 20000 / size);
    std::vector<double> times;
    for (int round = 0; round < 7; ++round) times.push_back(secondsOf(prepare(calls)) / static_cast<double>(calls));
    xs.push_back(std::log10(static_cast<double>(size)));
    ys.push_back(std::log10(ratio::median(times)));
  }
  const double meanX = std::accumulate(xs.begin(), xs.end(), 0.0) / static_cast<double>(xs.size());
  const double meanY = std::accumulate(ys.begin(), ys.end(), 0.0) / static_cast<double>(ys.size());
  double products = 0;
  double squares = 0;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    products += (xs[i] - meanX) * (ys[i] - meanY);
    squares += (xs[i] - meanX) * (xs[i] - meanX);
  }
  return products / squares;
}

/// Calls that use nothing up.
Prepare repeat(Call call) {
  return [call = std::move(call)](std::size_t calls) { return std::vector<Call>(calls, call); };
}

Prepare makeSaves(std::size_t entries) {
  return repeat([saved = std::make_shared<const Saved>(entries)] { saved->save(); });
}

Prepare makeRestores(std::size_t entries) {
  return [saved = std::make_shared<const Saved>(entries)](std::size_t calls) {
    std::vector<Call> restores;
    for (std::size_t i = 0; i < calls; ++i) {
      const auto text = std::make_shared<std::string>(saved->text());
      restores.emplace_back([saved, text] { saved->restore(std::move(*text)); });
    }
    return restores;
  };
}

/// As for the first turn: what is made is kept with the description, so each time takes one of its own.
Prepare makeTexts(std::size_t tables) {
  return repeat([description = makeDescription(tables)] {
    benchmark::DoNotOptimize(DatabaseDescription(description).text().ddl.size());
  });
}

ratio::Pair makeModels() {
  const auto text = std::make_shared<const std::string>(makeModelList(1000));
  return {.ours =
              [text] {
                const COJson reply(*text);
                benchmark::DoNotOptimize(completions::readModelsByCreated(*reply.obtainJsonValue("data")).size());
              },
          .baseline = [text] { benchmark::DoNotOptimize(COJson(*text).getIsValidJson()); }};
}

}  // namespace

int main(int argc, char** argv) {
  ratio::Table table(argc, argv);
  table.compare("session/save/100000", {.wall = 2.0, .cpu = 2.0}, [] {
    const auto saved = std::make_shared<const Saved>(100000);
    return ratio::Pair{.ours = [saved] { saved->save(); }, .baseline = [saved] { saved->serialise(); }};
  });
  table.compare("session/restore/100000", {.wall = 2.1, .cpu = 2.1}, [] {
    const auto saved = std::make_shared<const Saved>(100000);
    const auto text = std::make_shared<std::string>();
    return ratio::Pair{.ours = [saved, text] { saved->restore(std::move(*text)); },
                       .baseline = [saved] { saved->parse(); },
                       .beforeEachOurs = [saved, text] { *text = saved->text(); }};
  });
  // The times of the models are turned into numbers on our side alone: while a text is read its numbers stay texts. The
  // faster that becomes, the more the rest is beside it.
  table.compare("models/sorted/1000", {.wall = 2.2, .cpu = 2.2}, makeModels);

  const ratio::Measure growth{ratio::Unit::Count, ratio::Bound::AtMost, 1.05};
  table.measure("growth/text", growth, [] { return ratio::Figures{growthOf(makeTexts), std::nullopt}; });
  table.measure("growth/save", growth, [] { return ratio::Figures{growthOf(makeSaves), std::nullopt}; });
  // A long saved text no longer fits into the processor's caches.
  const ratio::Measure restoring{ratio::Unit::Count, ratio::Bound::AtMost, 1.10};
  table.measure("growth/restore", restoring, [] { return ratio::Figures{growthOf(makeRestores), std::nullopt}; });
  return table.run();
}

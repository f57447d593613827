// A database description as DDL, and as a property.
#include "bare_parse.h"
#include "description.h"
#include "qai_assistant_properties.h"
#include "ratio.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace {

constexpr std::size_t kTables = 10000;
constexpr double kTimes = 4.0;
constexpr double kTimesOnNewPages = 6.0;  // the tree and the texts take four times the memory of the description
constexpr int kProcesses = 20;

void makeText(const DatabaseDescription& description) { benchmark::DoNotOptimize(description.text().ddl.size()); }

/// Seconds that `call` takes in a process that has done nothing like it before.
template <typename Call>
double timeInChild(Call call) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    const double time = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    _exit(write(ends[1], &time, sizeof time) == sizeof time ? 0 : 1);
  }
  close(ends[1]);
  double time = 0;
  const bool complete = read(ends[0], &time, sizeof time) == sizeof time;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!complete) throw std::runtime_error("the first call failed");
  return time;
}

/// The parent never calls what is measured: a child starts with the parent's memory.
ratio::Figures takeFirstCalls() {
  const DatabaseDescription description(makeDescription(kTables));
  std::vector<double> ours;
  std::vector<double> bare;
  for (int index = 0; index < kProcesses; ++index) {
    ours.push_back(timeInChild([&] { makeText(description); }));
    bare.push_back(timeInChild([&] { parseBare(description.json()); }));
  }
  return {ratio::median(ours), ratio::median(bare)};
}

ratio::Pair makeTexts() {
  const auto description = std::make_shared<DatabaseDescription>(makeDescription(kTables));
  // What is made is kept with the description, so each time takes one that is new.
  return {.ours = [description] { makeText(*description); },
          .baseline = [description] { parseBare(description->json()); },
          .beforeEachOurs = [description] { *description = std::string(description->json()); }};
}

ratio::Pair makeTextProperty() {
  const auto record = std::make_shared<QAIAssistantProperties>();
  const auto value = std::make_shared<const CMVariant>(makeDescription(kTables));
  return {.ours = [record, value] { record->setProperty("db_structure", *value); },
          .baseline = [value] { benchmark::DoNotOptimize(COJson(value->stringRef()).getIsValidJson()); }};
}

CMVariant variantOf(const ICOJsonValue& value) {
  if (value.obtainType() == JsonType::String) return std::string(value.obtainString());
  if (value.obtainType() == JsonType::Array) {
    CMVariantList list;
    for (std::size_t i = 0; i < value.obtainArraySize(); ++i) list.push_back(variantOf(*value.obtainArrayItem(i)));
    return list;
  }
  CMVariantMap map;
  for (const auto& [key, member] : value.obtainJsonMembers()) map[std::string(key)] = variantOf(*member);
  return map;
}

ratio::Pair makeListProperty() {
  const auto record = std::make_shared<QAIAssistantProperties>();
  const auto document = std::make_shared<const COJson>(makeDescription(kTables));
  const auto value = std::make_shared<const CMVariant>(variantOf(*document));
  return {.ours = [record, value] { record->setProperty("db_structure", *value); },
          .baseline = [document] { benchmark::DoNotOptimize(document->obtainJsonString().size()); }};
}

}  // namespace

int main(int argc, char** argv) {
  ratio::Table table(argc, argv);
  table.measure("structure/text/first_of_a_process",
                {ratio::Unit::Seconds, ratio::Bound::AtMostTimes, kTimesOnNewPages}, takeFirstCalls);
  table.compare("structure/text/10000", {.wall = kTimes, .cpu = kTimes}, makeTexts);
  table.compare("structure/set_text/10000", {.wall = 2.0, .cpu = 2.0}, makeTextProperty);
  table.compare("structure/set_list/10000", {.wall = 2.6, .cpu = 2.6}, makeListProperty);
  return table.run();
}

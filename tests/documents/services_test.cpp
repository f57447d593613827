// Each document that lists the services knows all of the table, with what it says of each.
#include "support/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace {

/// Texts that stand in one line.
using Line = std::vector<std::string>;

/// A list of the services in a document, and what stands there of a service.
struct ServiceList {
  const char* name;
  const char* document;
  std::vector<Line> (*lines)(const TestedService& service);
};
void PrintTo(const ServiceList& list, std::ostream* out) { *out << list.name; }

std::string inCode(const std::string& text) { return "`" + text + "`"; }

/// `text` as a manual page has it: an unescaped '-' is a hyphen there.
std::string inManual(std::string text) {
  for (auto at = text.find('-'); at != std::string::npos; at = text.find('-', at + 2)) text.insert(at, 1, '\\');
  return text;
}

std::vector<Line> tableRow(const TestedService& service) {
  return {{"| " + std::to_string(service.type) + " " + inCode(service.typeName) + " | ", inCode(service.defaultHost),
           inCode(std::string("GET ") + service.modelsPath)}};
}

/// Of the chat services; the other one has a table of its own.
std::vector<Line> errorTexts(const TestedService& service) {
  if (service.keepsConversations) return {};
  std::string row = std::string("| ") + service.title + " |";
  for (const char* error : {service.noModelError, service.noJsonError, service.formatError, service.modelsNoJsonError,
                            service.modelsFormatError}) {
    row += " " + inCode(withModel(service, error, "MODEL")) + " |";
  }
  return {{row}};
}

std::vector<Line> wayOfTheKey(const TestedService& service) {
  switch (service.key) {
    case KeyWay::None:
      return {{service.title, "| nowhere"}};
    case KeyWay::Bearer:
      return {};  // "all others"
    case KeyWay::Query:
      return {{service.title, "`key=KEY`"}};
  }
  return {};
}

std::vector<Line> manualPage(const TestedService& service) {
  std::vector<Line> lines{{" " + inManual(service.provider) + " "}};
  for (const std::string& variable : service.keyVariables) lines.push_back({".B", variable});
  return lines;
}

const std::vector<ServiceList>& allLists() {
  static const std::vector<ServiceList> kLists{
      {"readme", "README.md", tableRow},
      {"services", "docs/providers.md", tableRow},
      {"error_texts", "docs/providers.md", errorTexts},
      {"keys", "docs/security.md", wayOfTheKey},
      {"manual_page", "docs/man/qai-chat.1", manualPage},
  };
  return kLists;
}

std::vector<std::string> readLines(const std::string& document) {
  std::ifstream file(SOURCES + ("/" + document));
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

bool holds(const std::string& text, const Line& line) {
  return std::all_of(line.begin(), line.end(),
                     [&text](const std::string& part) { return text.find(part) != std::string::npos; });
}

/// What `list` lacks of `service`.
std::vector<Line> missingIn(const ServiceList& list, const TestedService& service) {
  const std::vector<std::string> texts = readLines(list.document);
  std::vector<Line> missing = list.lines(service);
  std::erase_if(missing, [&texts](const Line& line) {
    return std::any_of(texts.begin(), texts.end(), [&line](const std::string& text) { return holds(text, line); });
  });
  return missing;
}

class ListOfServices : public testing::TestWithParam<ServiceList> {};
INSTANTIATE_TEST_SUITE_P(Documents, ListOfServices, testing::ValuesIn(allLists()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(ListOfServices, IsWhole) {
  for (const TestedService& service : allServices()) {
    EXPECT_EQ(missingIn(GetParam(), service), std::vector<Line>()) << GetParam().document << " on " << service.title;
  }
}

TEST_P(ListOfServices, LacksAServiceThatNobodyHas) {
  TestedService service = chatServices().front();
  service.type = static_cast<QAIAssistantType>(100);
  service.title = service.provider = "Nobody's AI";
  service.key = KeyWay::None;
  EXPECT_NE(missingIn(GetParam(), service), std::vector<Line>());
}

}  // namespace

#include "targets.h"

#include "support/services.h"

#include <algorithm>

const std::vector<Target>& allTargets() {
  static const std::vector<Target> kTargets = [] {
    std::vector<Target> targets{{"failure", fuzzFailure},
                                {"structure", fuzzStructure},
                                {"address", fuzzAddress},
                                {"json", fuzzJson},
                                {"variant", fuzzVariant}};
    for (const TestedService& service : allServices()) {
      const QAIAssistantType type = service.type;
      const std::string name = service.name;
      targets.push_back({"turn_" + name, [type](std::string_view input) { fuzzTurn(type, input); }});
      targets.push_back({"session_" + name, [type](std::string_view input) { fuzzSession(type, input); }});
    }
    return targets;
  }();
  return kTargets;
}

const Target* findTarget(std::string_view name) {
  const auto found = std::find_if(allTargets().begin(), allTargets().end(),
                                  [name](const Target& target) { return target.name == name; });
  return found == allTargets().end() ? nullptr : &*found;
}

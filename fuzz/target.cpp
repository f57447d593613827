#include "target.h"

#include <algorithm>

const Target* findTarget(std::string_view name) {
  const auto found = std::find_if(allTargets().begin(), allTargets().end(),
                                  [name](const Target& target) { return target.name == name; });
  return found == allTargets().end() ? nullptr : &*found;
}

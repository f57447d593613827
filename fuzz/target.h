// What is fuzzed, by name. A target takes any bytes, and ends the process when a rule does not hold.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct Target {
  std::string name;  // of its folders under seeds and crashes
  std::function<void(std::string_view input)> run;
};

/// Those of the program.
const std::vector<Target>& allTargets();

/// The target of this name; null when there is none.
const Target* findTarget(std::string_view name);

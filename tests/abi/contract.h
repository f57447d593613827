// The contract of contract.txt, for tests.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

/// The names of an interface's operations by slot, as contract.txt has them.
inline std::vector<std::string> contractedSlots(const std::string& interface) {
  std::ifstream contract(QAI_CONTRACT);
  std::vector<std::string> names;
  std::string line;
  while (std::getline(contract, line) && line != interface) continue;
  while (std::getline(contract, line) && !line.empty()) {
    line.erase(line.find('('));
    names.push_back(line.substr(line.find_last_of(" *&") + 1));
  }
  if (names.empty()) throw std::runtime_error("no " + interface + " in " QAI_CONTRACT);
  return names;
}

// fuzz_replay FOLDER: runs each target over its files in FOLDER/seeds and FOLDER/crashes. What a fuzzer once found
// stays found, with any compiler.
#include "quiet_assertions.h"
#include "target.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// @return the number of files
std::size_t replay(const Target& target, const fs::path& folder) {
  if (!fs::exists(folder)) return 0;
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::cout << target.name << ' ' << entry.path().string() << std::endl;  // at once: this may be the last
    target.run(readFile(entry.path()));
    ++count;
  }
  return count;
}

/// Whether every folder in `folder` belongs to a target: none is replayed by mistake of its name.
bool areAllTargets(const fs::path& folder) {
  if (!fs::exists(folder)) return true;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (findTarget(entry.path().filename().string()) != nullptr) continue;
    std::cerr << "There is no target for " << entry.path().string() << '\n';
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: fuzz_replay FOLDER\n";
    return 2;
  }
  const fs::path folder = argv[1];
  if (!areAllTargets(folder / "seeds") || !areAllTargets(folder / "crashes")) return 1;
  const QuietAssertions quiet;
  for (const Target& target : allTargets()) {
    const std::size_t seeds = replay(target, folder / "seeds" / target.name);
    const std::size_t crashes = replay(target, folder / "crashes" / target.name);
    if (seeds == 0) {
      std::cerr << "There is no seed for " << target.name << '\n';
      return 1;
    }
    std::cout << target.name << ": " << seeds << " seeds, " << crashes << " crashes" << std::endl;
  }
  return 0;
}

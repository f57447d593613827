// A target under libFuzzer, which brings the main function: QAI_FUZZ_TARGET names the target, because the processes
// that libFuzzer starts for some of its work get the environment, but none of the arguments that it doesn't know.
#include "quiet_assertions.h"
#include "target.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace {

const Target& chooseTarget() {
  const char* name = std::getenv("QAI_FUZZ_TARGET");
  const Target* target = findTarget(name == nullptr ? "" : name);
  if (target != nullptr) return *target;
  std::cerr << "QAI_FUZZ_TARGET must be one of:\n";
  for (const Target& known : allTargets()) std::cerr << known.name << '\n';
  std::exit(2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Target& target = chooseTarget();
  static const QuietAssertions quiet;
  target.run({reinterpret_cast<const char*>(data), size});
  return 0;
}

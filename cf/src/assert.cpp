// Hands failed assertions to whoever wants to know.
#include <cf/assert.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <string_view>

namespace {

void printAssertion([[maybe_unused]] const char* expression, [[maybe_unused]] const char* file,
                    [[maybe_unused]] int line) {
#ifndef NDEBUG
  static_cast<void>(std::fprintf(stderr, "Assertion failed: %s (%s:%d)\n", expression, file, line));
#endif
}

std::atomic<CFAssertionHandler> assertionHandler{printAssertion};

std::string_view stemOf(std::string_view path) noexcept {
  // npos + 1 is 0: a name without a folder stays whole.
  const std::string_view name = path.substr(path.find_last_of("/\\") + 1);
  return name.substr(0, name.find_last_of('.'));
}

}  // namespace

CFAssertionHandler cfSetAssertionHandler(CFAssertionHandler handler) noexcept {
  return assertionHandler.exchange(handler != nullptr ? handler : printAssertion);
}

bool cfRaiseAssertion(const char* expression, const char* file, int line) noexcept {
  const std::string_view stem = stemOf(file != nullptr ? file : "");
  std::array<char, 128> name{};  // no allocation: memory may be what has run out
  std::copy_n(stem.data(), std::min(stem.size(), name.size() - 1), name.data());
  assertionHandler.load()(expression != nullptr ? expression : "", name.data(), line);
  return false;
}

// Loading and unloading the library beside a shared library without content that needs the same others. The foundation
// is loaded already, as in a host.
#include "ratio.h"

#include <cf/app.h>

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace {

void loadAndUnload(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  dlclose(library);
}

bool isLoaded(const char* path) { return dlopen(path, RTLD_NOW | RTLD_NOLOAD) != nullptr; }

}  // namespace

int main(int argc, char** argv) {
  benchmark::DoNotOptimize(CF::obtainAppFactory());  // needs the foundation
  ratio::Table table(argc, argv);
  table.compare("load/library", {.wall = 1.5, .cpu = std::nullopt}, [] {
    return ratio::Pair{.ours = [] { loadAndUnload(BENCH_QAI_LIBRARY); },
                       .baseline = [] { loadAndUnload(BENCH_EMPTY_LIBRARY); },
                       .afterAll =
                           [] {
                             if (isLoaded(BENCH_QAI_LIBRARY)) throw std::runtime_error("the library stays loaded");
                           }};
  });
  return table.run();
}

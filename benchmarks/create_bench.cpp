// An assistant made and freed beside the REST session and the pool centre that it needs.
#include "ratio.h"

#include <qai.h>

#include <memory>

int main(int argc, char** argv) {
  ratio::Table table(argc, argv);
  table.compare("create/assistant", {.wall = 2.0, .cpu = std::nullopt}, [] {
    return ratio::Pair{
        .ours =
            [] { QAIFreeObject(QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "key", "http://localhost")); },
        .baseline =
            [] {
              const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
              CMRestSession session;
              session.setAuthorizationHeaderValue("Bearer key");
              session.httpPoolCenter = pool.get();
              benchmark::DoNotOptimize(&session);
            }};
  });
  return table.run();
}

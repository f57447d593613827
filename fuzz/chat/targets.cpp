#include "chat/targets.h"

#include "target.h"

const std::vector<Target>& allTargets() {
  static const std::vector<Target> kTargets{{"sql", fuzzSql}, {"sqlite", fuzzSqlite}};
  return kTargets;
}

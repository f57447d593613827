// A database whose file went away.
#pragma once

#include "databases/database.h"

class LostDatabase : public Database {
 public:
  std::string productName() const override { return ""; }
  DatabaseDescription readDescription() override { return {}; }
  StatementCheck check(const std::string& /*sql*/) override { throw lost(); }
  Result run(const std::string& /*sql*/, const RunLimits& /*limits*/) override { throw lost(); }
  Written runWriting(const std::string& /*sql*/, const RunLimits& /*limits*/, const Confirm& /*confirm*/) override {
    throw lost();
  }
  Result explain(const std::string& /*sql*/) override { throw lost(); }
  NearValues findNearValues(const ColumnName& /*column*/, const std::string& /*literal*/,
                            std::chrono::milliseconds /*patience*/) override {
    return {};
  }
  std::vector<RepeatedRows> findRepeatedRows(const std::string& /*sql*/,
                                             std::chrono::milliseconds /*patience*/) override {
    return {};
  }
  void interrupt() noexcept override {}
  void dropLateInterrupt() noexcept override {}

 private:
  static DatabaseError lost() { return {ExitCode::NoInput, "The file is gone"}; }
};

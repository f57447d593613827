// A certificate authority of the benchmarks' own, known to both sides.
#pragma once

#include "server.h"
#include "support/test_ca.h"

#include <string>

class BenchAuthority {
 public:
  BenchAuthority();

  /// The authority's certificate under its hashed name, alone in the folder of `libcurl by hand`.
  std::string getFolder() const;
  std::string getFile() const { return ca_.getFile(); }
  /// For a server called "localhost".
  const TestCA::Names& getServer() const { return server_; }
  /// Makes the library trust the authority, beside the system's.
  void trustInLibrary() const;

 private:
  TestCA ca_;
  TestCA::Names server_;
};

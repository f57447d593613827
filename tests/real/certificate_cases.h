// Servers that no client should talk to, and some at the border.
#pragma once

#include "support/test_ca.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

struct CertificateCase {
  const char* name;
  std::function<TLSContext(const TestCA& trusted)> make;
  const char* reason;              // a part of what the user is told; "" where it is taken
  const char* host = "localhost";  // that the server is asked for
};
void PrintTo(const CertificateCase& row, std::ostream* out);

const std::vector<CertificateCase>& badCertificates();
/// Taken, some of them for want of a check that nobody makes.
const std::vector<CertificateCase>& takenCertificates();

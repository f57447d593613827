// A real proxy with a port for each way to meet it.
#pragma once

#include "server_program.h"
#include "support/temporary_folder.h"
#include "support/test_ca.h"

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

inline const std::string kProxyUser = "qai";
/// Looks different in an address, in a header and as itself.
inline const std::string kProxyPassword = "c@nary/9f%3";

class Squid {
 public:
  enum class Door {
    Open,
    Password,  // for who knows it
    Closed,    // every request is denied
    Secure     // open, over TLS, with a certificate for "localhost"
  };

  /// Runs from here on. `authority` vouches for its secure door.
  explicit Squid(const TestCA& authority);

  /// For the settings. `password` goes in where it is not empty.
  std::string url(Door door, const std::string& password = "") const;
  /// As messages name it: "127.0.0.1:3128".
  std::string name(Door door) const;

  std::filesystem::path configurationFile() const { return folder_.path() / "squid.conf"; }

  /// Ends with all its connections, in the middle of whatever it does.
  void die() { program_.reset(); }
  /// Again, at the same ports.
  void start();

 private:
  void writeConfiguration(const TestCA& authority) const;
  std::string port(Door door) const { return ports_[static_cast<std::size_t>(door)].text(); }

  std::array<ReservedPort, 4> ports_;
  TemporaryFolder folder_{"qai-squid"};
  std::optional<ServerProgram> program_;
};

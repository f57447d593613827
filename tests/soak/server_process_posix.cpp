#include "faulty_services.h"
#include "server_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace {

struct Pipe {
  Pipe() {
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  }
  std::array<int, 2> ends{};
};

/// Tells the port, and serves until the other process closes its end.
[[noreturn]] void serve(const TLSContext& tls, int portEnd, int endOfLife) {
  FaultyServices services;
  RawServer server([&](const std::string& request, std::size_t /*number*/) { return services.answer(request); }, tls);
  server.keepNoRequests();
  const int port = server.getPort();
  const bool told = write(portEnd, &port, sizeof port) == sizeof port;
  char nothing = 0;
  const bool served = told && read(endOfLife, &nothing, 1) == 0;
  _exit(served ? 0 : 1);
}

}  // namespace

ServerProcess::ServerProcess(const TLSContext& tls) {
  const Pipe port;
  const Pipe life;
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process");
  if (process_ == 0) {
    close(life.ends[1]);
    serve(tls, port.ends[1], life.ends[0]);
  }
  close(port.ends[1]);
  close(life.ends[0]);
  end_ = life.ends[1];
  int number = 0;
  const bool told = read(port.ends[0], &number, sizeof number) == sizeof number;
  close(port.ends[0]);
  if (!told) throw std::runtime_error("no server");
  address_ = (tls == nullptr ? "http://127.0.0.1:" : "https://localhost:") + std::to_string(number);
}

ServerProcess::~ServerProcess() {
  close(end_);
  int status = 0;
  waitpid(process_, &status, 0);
}

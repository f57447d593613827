#include "nginx.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

constexpr std::string_view kExchange = "exchange ";

/// Whether this machine has a connection to `port` that neither side has ended: proc(5), /proc/net/tcp.
bool isConnectedTo(int port) {
  std::ifstream table("/proc/net/tcp");
  std::string line;
  std::getline(table, line);
  std::string number, local, remote, state;
  while (table >> number >> local >> remote >> state && std::getline(table, line)) {
    if (std::stoi(remote.substr(remote.find(':') + 1), nullptr, 16) == port && state == "01") return true;
  }
  return false;
}

}  // namespace

Nginx::Nginx(const TestCA& authority, const std::string& service, const std::string& further) {
  const TestCA::Names certificate = authority.issue("localhost");
  const std::string folder = folder_.path().string();
  const std::string file = folder + "/nginx.conf";
  // As root it would look for a user of its own to work as; as anyone else it takes no heed of the line.
  std::ofstream(file) << "daemon off;\nmaster_process off;\nuser root;\n"
                      << "pid " << folder << "/pid;\nerror_log stderr notice;\n"
                      << "events {}\nhttp {\n"
                      << "client_body_temp_path " << folder << "/body;\nproxy_temp_path " << folder << "/proxy;\n"
                      << "fastcgi_temp_path " << folder << "/fastcgi;\nuwsgi_temp_path " << folder << "/uwsgi;\n"
                      << "scgi_temp_path " << folder << "/scgi;\n"
                      << "log_format exchange '" << kExchange << "$connection $request_method $status $server_protocol "
                      << "$ssl_alpn_protocol $sent_http_content_encoding';\naccess_log /dev/stdout exchange;\n"
                      << "gzip on;\ngzip_types application/json;\ngzip_min_length 0;\ngzip_proxied any;\n"
                      << "server {\nlisten 127.0.0.1:" << ports_[0].text() << " ssl http2;\n"
                      << "ssl_certificate " << certificate.certificateFile << ";\n"
                      << "ssl_certificate_key " << certificate.keyFile << ";\n"
                      << further << "\nlocation / { proxy_pass " << service << "; }\n}\n}\n";
  program_.emplace(
      std::vector<std::string>{packagedFile("usr/sbin/nginx").string(), "-p", folder, "-e", "stderr", "-c", file},
      "event method", ports_);
}

std::string Nginx::readExchange() {
  std::optional<std::string> line = program_->readLine();
  while (line && !line->starts_with(kExchange)) line = program_->readLine();
  if (!line) return "";
  line->erase(0, kExchange.size());
  connection_ = line->substr(0, line->find(' '));
  return line->substr(connection_.size() + 1);
}

void Nginx::awaitEndOfConnections() const {
  const auto latest = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (isConnectedTo(port())) {
    if (std::chrono::steady_clock::now() > latest) throw std::runtime_error("nginx ended no connection");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

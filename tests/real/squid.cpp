#include "squid.h"

#include <cf/url.h>

#include <fstream>

namespace {

// kProxyPassword as crypt(3) keeps it.
constexpr const char* kUserLine =
    "qai:$6$qai$zOCTQufOHVUwhNxLXVBa.BdghVM0gr05/2nvCal7WmKFuSEEu0nK8wotm2xxIlHzqYL7WmY5kmjpbJh08J52V1\n";

// What squid's own user must be able to read when root starts it, and root's folders may be closed to it.
void copyPackaged(const char* name, const std::filesystem::path& to) {
  std::filesystem::copy(packagedFile(name), to, std::filesystem::copy_options::recursive);
}

// What squid has mapped stays; the names would outlive a squid that is killed.
void removeSharedMemory(const std::string& squid) {
  for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
    if (entry.path().filename().string().starts_with(squid + "-")) std::filesystem::remove(entry);
  }
}

}  // namespace

Squid::Squid(const TestCA& authority) {
  const std::filesystem::path& folder = folder_.path();
  openToAll(folder);
  copyPackaged("usr/share/squid-langpack/templates", folder / "pages");
  copyPackaged("usr/share/squid/mime.conf", folder / "mime.conf");
  copyPackaged("usr/lib/squid/basic_ncsa_auth", folder / "basic_ncsa_auth");
  std::ofstream(folder / "users") << kUserLine;
  std::ofstream(folder / "style.css").flush();
  std::ofstream(folder / "hosts") << "127.0.0.1 localhost qai.localhost host.qai.localhost\n";
  writeConfiguration(authority);
  start();
}

void Squid::writeConfiguration(const TestCA& authority) const {
  const TestCA::Names certificate = authority.issue("localhost");
  const std::string folder = folder_.path().string();
  std::ofstream(configurationFile())
      << "http_port 127.0.0.1:" << port(Door::Open) << " name=open\n"
      << "http_port 127.0.0.1:" << port(Door::Password) << " name=password\n"
      << "http_port 127.0.0.1:" << port(Door::Closed) << " name=closed\n"
      << "https_port 127.0.0.1:" << port(Door::Secure) << " name=secure tls-cert=" << certificate.certificateFile
      << " tls-key=" << certificate.keyFile << "\n"
      << "auth_param basic program " << folder << "/basic_ncsa_auth " << folder << "/users\n"
      << "auth_param basic children 1\n"
      << "auth_param basic realm qai\n"
      << "acl open myportname open secure\n"
      << "acl password myportname password\n"
      << "acl known proxy_auth REQUIRED\n"
      << "http_access allow open\n"
      << "http_access allow password known\n"
      << "http_access deny password\n"
      << "http_access deny all\n"
      << "strip_query_terms off\n"  // its pages then show whole addresses
      << "hosts_file " << folder << "/hosts\n"
      << "visible_hostname localhost\n"
      << "cache deny all\ncache_mem 0\n"
      << "access_log none\ncache_log /dev/null\npid_filename none\npinger_enable off\n"
      << "coredump_dir " << folder << "\n"
      << "mime_table " << folder << "/mime.conf\n"
      << "icon_directory " << folder << "\n"
      << "error_directory " << folder << "/pages\n"
      << "err_page_stylesheet " << folder
      << "/style.css\n"
      // Programs that it looks for in its own folders. Without a cache on a disk, a log and a cluster it starts none.
      << "unlinkd_program /bin/true\ndiskd_program /bin/true\n"
      << "logfile_daemon /bin/true\npinger_program /bin/true\n"
      << "netdb_filename none\n"
      // The machine's servers of names, its authorities, and its limit, for each of which squid keeps half a kilobyte.
      << "dns_nameservers 127.0.0.1\ntls_outgoing_options default-ca=off\nmax_filedescriptors 1024\n";
}

void Squid::start() {
  // Its name begins those of the shared memory that it asks for; nobody else's must be in the way.
  const std::string squid = "qai" + port(Door::Open);
  program_.emplace(std::vector<std::string>{packagedFile("usr/sbin/squid").string(), "-N", "-d", "1", "-n", squid, "-f",
                                            configurationFile().string()},
                   "Accepting HTTPS Socket connections", ports_);
  removeSharedMemory(squid);
}

std::string Squid::name(Door door) const { return (door == Door::Secure ? "localhost:" : "127.0.0.1:") + port(door); }

std::string Squid::url(Door door, const std::string& password) const {
  const std::string user = password.empty() ? "" : kProxyUser + ":" + cfEncodeQueryText(password) + "@";
  return (door == Door::Secure ? "https://" : "http://") + user + name(door);
}

#include "authorities.h"

#include <qai.h>

#include <openssl/pem.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

// The name under which OpenSSL looks for an authority: "4bfab552.0".
std::string obtainHashedName(const std::string& certificateFile) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(certificateFile.c_str(), "r"), &std::fclose);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(PEM_read_X509(file.get(), nullptr, nullptr, nullptr),
                                                                &X509_free);
  std::array<char, 16> name{};
  static_cast<void>(std::snprintf(name.data(), name.size(), "%08lx.0", X509_subject_name_hash(certificate.get())));
  return name.data();
}

}  // namespace

BenchAuthority::BenchAuthority() : server_(ca_.issue("localhost")) {
  const std::string folder = getFolder();
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(getFile(), folder + "/" + obtainHashedName(getFile()));
}

std::string BenchAuthority::getFolder() const {
  return (std::filesystem::path(getFile()).parent_path() / "hashed").string();
}

void BenchAuthority::trustInLibrary() const {
  CMRestGlobalSettings settings;
  settings.caFile = getFile();
  QAISetHTTPSettings(settings);
}

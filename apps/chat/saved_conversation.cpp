#include "saved_conversation.h"

#include "path_text.h"
#include "session_text.h"
#include "start.h"

#include <qai/saved_host.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{256} << 20;

RestoreError unfit(const std::string& sentence) { return {ExitCode::WrongUsage, sentence}; }

std::string makeQuestion(const Service& service, const std::string& inUse, const std::string& saved) {
  const bool hasKey = !service.apiKey.empty() && service.provider->keyPlace != KeyPlace::None;
  return "The saved conversation goes on at another address than the one in use.\n  in use: " + inUse +
         "\n  saved: " + saved + "\nSend the conversation" +
         (hasKey ? " and the key of " + std::string(service.provider->title) : "") + " to " + saved + "?";
}

/// Of an address with a scheme; "" where it is "/".
std::string obtainPath(const std::string& address) {
  const std::size_t begin = address.find('/', address.find("://") + 3);
  std::string path = begin == std::string::npos ? "" : address.substr(begin);
  if (path.ends_with('/')) path.pop_back();
  return path;
}

/// Where many share a server, the path is the account.
bool isSamePlace(const std::string& one, const std::string& other) {
  return one == other || (qai::sameOrigin(one, other) && obtainPath(one) == obtainPath(other));
}

/// How an address is shown: as whom it names, where that can be told.
std::string nameHost(const std::string& address) {
  const std::optional<qai::Origin> origin = qai::parseOrigin(address);
  return origin ? origin->text() + obtainPath(address) : withoutAccount(address);
}

}  // namespace

std::string readSavedConversation(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(makePath(path), error);
  if (error) throw RestoreError(ExitCode::NoInput, path + " can't be read: " + describeError(error));
  if (size > kLargestFile) throw RestoreError(ExitCode::NotADatabase, path + " is too large for a conversation");
  std::ifstream file(makePath(path), std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(file), {});
  if (!file.is_open() || file.bad()) throw RestoreError(ExitCode::NoInput, path + " can't be read");
  return text;
}

std::string consentToSaved(const std::string& saved, const Service& service, const Consent& consent) {
  const QAIAssistantType type = service.provider->type;
  const std::optional<std::string> host = qai::savedHost(type, saved, service.host);
  if (!host) throw RestoreError(ExitCode::NotADatabase, "The file to restore holds no saved conversation");
  if (isStoodIn(service)) return turnsWithoutSecrets(saved, {});

  const std::string inUse =
      qai::savedHost(type, "{}", service.host).value_or(service.host);  // in the library's spelling
  if (isSamePlace(*host, inUse)) return saved;
  if (!qai::parseOrigin(*host))
    throw unfit("The saved conversation names a host that can't be told for sure: " + withoutAccount(*host));
  if (!staysUnheard(*host, service.settings) && !service.allowsHttp) {
    throw unfit("The saved conversation would go unencrypted to " + nameHost(*host) + "; --allow-http permits that");
  }
  if (!consent) {
    throw unfit("The saved conversation goes on at " + nameHost(*host) + ", not at " + nameHost(inUse) +
                ", and nobody is here to agree; --host names the one that is meant");
  }
  if (!consent(makeQuestion(service, nameHost(inUse), nameHost(*host))))
    throw unfit("The conversation is not restored");
  return saved;
}

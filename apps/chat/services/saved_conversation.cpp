#include "services/saved_conversation.h"

#include "path_text.h"
#include "services/session_text.h"
#include "start.h"

#include <qai/saved_host.hpp>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20U;
constexpr std::size_t kMostValues = 1'000'000;
constexpr std::size_t kPiece = std::size_t{64} << 10U;

/// Counts the values in a JSON text as it comes: by what stands before each but the first, outside of strings.
class ValueCounter {
 public:
  void feed(std::string_view text) {
    for (const char c : text) {
      if (!inString_) {
        inString_ = c == '"';
        if (c == ',' || c == '[' || c == '{') ++count_;
      } else if (escaped_) {
        escaped_ = false;
      } else {
        escaped_ = c == '\\';
        inString_ = c != '"';
      }
    }
  }
  std::size_t count() const { return count_; }

 private:
  std::size_t count_ = 0;
  bool inString_ = false;
  bool escaped_ = false;
};

RestoreError unfit(const std::string& sentence) { return {ExitCode::WrongUsage, sentence}; }

std::string makeQuestion(const Endpoint& endpoint, const std::string& inUse, const std::string& saved) {
  const bool hasKey = !endpoint.apiKey.empty() && endpoint.provider->usesKey();
  return "The saved conversation goes on at another address than the one in use.\n  in use: " + inUse +
         "\n  saved: " + saved + "\nSend the conversation" +
         (hasKey ? " and the key of " + std::string(endpoint.provider->title) : "") + " to " + saved + "?";
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

std::string readConversation(std::istream& in, const std::string& name) {
  std::string text;
  ValueCounter values;
  std::vector<char> piece(kPiece);
  while (in.read(piece.data(), kPiece), in.gcount() > 0) {
    const std::string_view read(piece.data(), static_cast<std::size_t>(in.gcount()));
    text += read;
    values.feed(read);
    if (text.size() > kLargestFile || values.count() > kMostValues)
      throw RestoreError(ExitCode::NotADatabase, name + " is too large for a conversation");
  }
  if (in.bad()) throw RestoreError(ExitCode::NoInput, name + " can't be read");
  return text;
}

std::string readSavedConversation(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(makePath(path), error);
  if (error) throw RestoreError(ExitCode::NoInput, path + " can't be read: " + describeError(error));
  // Opening a pipe or a device could wait for ever.
  if (!std::filesystem::is_regular_file(status))
    throw RestoreError(ExitCode::NoInput, path + " can't be read: it is not a regular file");
  std::ifstream file(makePath(path), std::ios::binary);
  if (!file) throw RestoreError(ExitCode::NoInput, path + " can't be read");
  return readConversation(file, path);
}

std::string consentToSaved(const std::string& saved, const Endpoint& endpoint, const Consent& consent) {
  const QAIAssistantType type = endpoint.provider->type;
  const std::optional<std::string> host = qai::savedHost(type, saved, endpoint.host);
  if (!host) throw RestoreError(ExitCode::NotADatabase, "The file to restore holds no saved conversation");
  if (isStoodIn(endpoint)) return turnsWithoutSecrets(saved, {});

  const std::string inUse =
      qai::savedHost(type, "{}", endpoint.host).value_or(endpoint.host);  // in the library's spelling
  if (isSamePlace(*host, inUse)) return saved;
  if (!qai::parseOrigin(*host))
    throw unfit("The saved conversation names a host that can't be told for sure: " + withoutAccount(*host));
  if (!staysUnheard(*host, endpoint.settings) && !endpoint.allowsHttp) {
    throw unfit("The saved conversation would go unencrypted to " + nameHost(*host) + "; --allow-http permits that");
  }
  if (!consent) {
    throw unfit("The saved conversation goes on at " + nameHost(*host) + ", not at " + nameHost(inUse) +
                ", and nobody is here to agree; --host names the one that is meant");
  }
  if (!consent(makeQuestion(endpoint, nameHost(inUse), nameHost(*host))))
    throw unfit("The conversation is not restored");
  return saved;
}

/// @file
/// Where a saved session would have requests go, before it is restored; a part of qai.hpp.
///
/// A saved session names an API host, and IQAIAssistant::loadSession writes it into the assistant's settings: the next
/// turn goes there, with this assistant's key. So a host that restores a text that others could have changed looks at
/// the host in it first, and asks its user when that is another than the one in use:
/// @code
/// const auto host = qai::savedHost(type, text, hostInUse);
/// if (host && !qai::sameOrigin(*host, hostInUse) && !userAgrees(hostInUse, *host)) return;
/// auto session = assistant.loadSession(text);  // this very text
/// @endcode
#pragma once

#include <cf/json_shortcuts.h>
#include <cf/origin.h>
#include <qai.h>
#include <qai/owners.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace qai {

/// Whom an address names: scheme, host and port.
using Origin = CMOrigin;

/// Whom `address` names, when that is beyond doubt: cfParseOrigin in cf/origin.h.
inline std::optional<Origin> parseOrigin(std::string_view address) { return cfParseOrigin(address); }

/// Whether both addresses name the same scheme, host and port. False as soon as parseOrigin can't tell of one of them,
/// and for two names of one machine.
inline bool sameOrigin(std::string_view one, std::string_view other) { return cfIsSameOrigin(one, other); }

/// Whether `origin` is this machine: "localhost", which is never looked up, 127.x.x.x or [::1].
inline bool isLoopback(const Origin& origin) { return cfIsLoopback(origin); }

/// The API host that an assistant of `type` whose API host is `current` would have after loadSession(`text`): with its
/// scheme, the service's public host for a blank one, and `current` itself where the text names none. It comes from the
/// library, out of an assistant that is made for it, has no key and sends nothing; the caller's own is not touched.
/// Nothing when the library would not restore the text. Restore the same text afterwards, not a file that may have
/// changed meanwhile.
inline std::optional<std::string> savedHost(QAIAssistantType type, const std::string& text,
                                            const std::string& current) {
  const COJson saved(text);
  if (!saved.getIsValidJson()) return std::nullopt;
  // Only what is looked for: the history may be long, and settings that are refused would raise assertions.
  COJson part;
  part.setObject();
  for (const char* key : {"api_host", "assistant_id", "thread_id"}) {
    if (const COJsonValue* value = cfFindJsonMember(&saved, key, JsonType::String))
      part.addKeyValue(key)->setString(value->obtainString());
  }
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(type, nullptr, "", current));
  if (assistant == nullptr) return std::nullopt;
  const auto [session, error] = assistant->loadSession(part.obtainJsonString());
  const Owned<IQAISession> owned(session);
  if (!error.empty()) return std::nullopt;
  IQAIProperties* properties = assistant->obtainAssistantProperties();
  const Owned<IQAIProperties> copy(type == OPENAI ? nullptr : properties);  // whose assistant gives its own object
  return properties->obtainProperty("api_host").stringValue();
}

}  // namespace qai

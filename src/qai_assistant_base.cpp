#include "qai_assistant_base.h"

#include "qai_exports.h"

#include <cf/json_shortcuts.h>
#include <cf/url.h>

#include <algorithm>

namespace {

constexpr std::string_view kTooLong = "The reply is too long";
constexpr std::string_view kModelPlace = "{model}";

/// `text` with the model's name in place of "{model}".
std::string withModel(std::string_view text, const std::string& model) {
  std::string result(text);
  const std::size_t at = result.find(kModelPlace);
  if (at != std::string::npos) result.replace(at, kModelPlace.size(), model);
  return result;
}

}  // namespace

QAIAssistantBase::QAIAssistantBase(const ServiceRow& row, ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                   const std::string& apiKey, std::unique_ptr<QAIAssistantProperties> properties)
    : row_(row),
      apiKey_(row.key == ServiceKey::None ? std::string() : apiKey),
      properties_(std::move(properties)),
      restSession_(std::make_unique<CMRestSession>()) {
  if (row_.key == ServiceKey::Bearer) restSession_->setAuthorizationHeaderValue("Bearer " + apiKey_);
  if (!row_.header.name.empty()) {
    restSession_->addHeaderParam(std::string(row_.header.name), std::string(row_.header.value));
  }
  if (row_.sharesPool) restSession_->httpPoolCenter = pool;
  properties_->setApiHost(apiHost, std::string(row_.defaultHost));
  pool_.reset(pool);  // last: until here the pool is the caller's
}

QAIAssistantBase::Reply QAIAssistantBase::readReply(const HTTPResult& result, std::string_view noJsonText,
                                                    std::string_view label) const {
  Reply reply{.response = std::unique_ptr<CMRestResourceResponse>(result.first), .json = nullptr, .error = {}};
  if (!result.second.empty()) {
    reply.error = obtainFailureText(result.first, result.second);
  } else if (reply.json = result.first->getJson(); reply.json == nullptr) {
    reply.error = failure(noJsonText, label);
  }
  return reply;
}

std::string QAIAssistantBase::streamError(QAIReplyStream& stream, const HTTPResult& result,
                                          std::string_view noJsonLabel, std::string_view formatLabel) const {
  using Failure = QAIReplyStream::Failure;
  if (result.second.empty()) stream.finish();
  switch (stream.failure()) {
    case Failure::None:
      return result.second;
    case Failure::Stopped:
      return localizeString(kStopped);
    case Failure::NotJson:
      return failure(kInvalidResponse, noJsonLabel);
    case Failure::NotInFormat:
      return failure(kUnsupportedFormat, formatLabel);
    case Failure::Incomplete:
      return failure("The reply ended before it was complete", formatLabel);
    case Failure::TooLong:
      return failure(kTooLong, formatLabel);
    case Failure::Told:
      return stream.reply().error;
  }
  return result.second;
}

std::string QAIAssistantBase::handOnWhole(const std::vector<std::string_view>& texts, const QAIStreamOptions& options,
                                          const Sink& sink, std::string_view formatLabel) const {
  std::size_t size = 0;
  for (const std::string_view text : texts) size += text.size();
  if (size > options.mostTextBytes) return failure(kTooLong, formatLabel);
  for (const std::string_view text : texts) {
    if (!text.empty() && !sink(text)) return localizeString(kStopped);
  }
  return "";
}

std::string QAIAssistantBase::failure(std::string_view text, std::string_view label) const {
  return localizeString(std::string(text)) + withModel(label, properties_->model);
}

std::string QAIAssistantBase::address(std::string_view path) const {
  const bool namesModel = path.find(kModelPlace) != std::string_view::npos;
  const std::string_view last = namesModel ? path.substr(path.rfind('/')) : std::string_view();
  std::string_view host = properties_->apiHost;
  while (host.ends_with('/')) host.remove_suffix(1);
  std::string result;
  result.reserve(host.size() + path.size());
  result.append(host).append(path.substr(0, path.size() - last.size()));
  if (namesModel) result += cfConcatURL({"", withModel(last.substr(1), properties_->model)});
  return result;
}

// One in a header is looked at there, but a query can hold any text, and this would be another key than the one that
// the user means.
std::string QAIAssistantBase::refuseKey() const {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
  if (row_.key != ServiceKey::Query || std::none_of(apiKey_.begin(), apiKey_.end(), isControl)) return "";
  return "The key holds a control character";
}

CMRestParams QAIAssistantBase::queryParams() const {
  return row_.key == ServiceKey::Query ? CMRestParams{{"key", apiKey_}} : CMRestParams{};
}

void* QAIAssistantBase::obtainExtension(const char* id) noexcept {
  return id == std::string_view(IQAIStreaming::kId) ? static_cast<IQAIStreaming*>(this) : nullptr;
}

void QAIAssistantBase::useDefaultHostForBlank(QAIAssistantProperties& properties) const {
  if (properties.isApiHostBlank()) properties.setApiHost("", std::string(row_.defaultHost));
}

std::pair<std::vector<std::string>, std::string> QAIAssistantBase::obtainAvailableModels() {
  if (const std::string refusal = refuseKey(); !refusal.empty()) return {{}, refusal};
  const ServiceModels& models = row_.models;
  const Reply reply = readReply(HTTP::Get(restSession_.get(), address(models.path), queryParams(), {}),
                                models.noJsonText, models.label);
  if (!reply.error.empty()) return {{}, reply.error};
  if (const ICOJsonValue* message = models.mayBeAnError ? findErrorMessage(reply.json) : nullptr) {
    return {{}, std::string(message->obtainString())};
  }
  const ICOJsonValue* list = cfFindJsonMember(reply.json, models.member, JsonType::Array);
  if (list == nullptr) return {{}, failure(kUnsupportedFormat, models.label)};
  return {models.read(*list), ""};
}

#include "qai_session_deepseek.h"

#include "qai_chat_completions.h"

// https://api-docs.deepseek.com/api/create-chat-completion and …/list-models
constinit const ChatDialect kDeepSeek{
    .defaultHost = "api.deepseek.com",
    .instructionsRole = "system",
    .bearerKey = true,
    .queryKey = false,
    .sharesPool = true,
    .modelsPath = {"models"},
    .modelsMember = "data",
    .modelsNoJsonText = "Invalid response",
    .modelsLabel = ": g/models",
    .chatPath = {"chat", "completions"},
    .noModelLabel = ": p/chat/completions",
    .noJsonLabel = ": p/chat/completions",
    .formatLabel = ": p/chat/completions",
    .readModels = completions::readModels,
    .writeBody = completions::writeBody,
    .readReply = completions::readReply,
    .file = __FILE__,
    .line = __LINE__,
};

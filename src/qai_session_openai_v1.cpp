#include "qai_session_openai_v1.h"

#include "qai_chat_completions.h"

// https://platform.openai.com/docs/api-reference/chat/create and …/models/list
constinit const ChatDialect kOpenAI{
    .defaultHost = "api.openai.com",
    .instructionsRole = "developer",
    .key = ChatKey::Bearer,
    .sharesPool = true,
    .models = {.path = {"v1", "models"}, .member = "data", .noJsonText = kUnsupportedFormat, .label = ": g/v1/models"},
    .turn = {.path = {"v1", "chat", "completions"},
             .noModelLabel = ": p/v1/chat/completions",
             .noJsonLabel = ": g/v1/chat/completions",  // the other method's label, as hosts know it
             .formatLabel = ": p/v1/chat/completions"},
    .readModels = completions::readModelsByCreated,
    .entry = completions::kEntry,
    .writeBody = completions::writeBody,
    .readReply = completions::readReply,
    .place = {__FILE__, __LINE__},
};

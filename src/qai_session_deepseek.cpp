#include "qai_session_deepseek.h"

#include "qai_chat_completions.h"

// https://api-docs.deepseek.com/api/create-chat-completion and …/list-models
constinit const ChatDialect kDeepSeek{
    .service = {.defaultHost = "api.deepseek.com",
                .key = ServiceKey::Bearer,
                .sharesPool = true,
                .models = {.path = "/models",
                           .member = "data",
                           .noJsonText = kInvalidResponse,
                           .label = ": g/models",
                           .read = completions::readModels}},
    .instructionsStart = completions::kSystemStart,
    .turn = {.path = "/chat/completions",
             .noModelLabel = ": p/chat/completions",
             .noJsonLabel = ": p/chat/completions",
             .formatLabel = ": p/chat/completions"},
    .stream = completions::kStream,
    .entry = completions::kEntry,
    .writeBody = completions::writeBody,
    .readReply = completions::readReply,
    .readDetails = completions::readDetails,
    .place = {__FILE__, __LINE__},
};

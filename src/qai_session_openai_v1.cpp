#include "qai_session_openai_v1.h"

#include "qai_chat_completions.h"

// https://platform.openai.com/docs/api-reference/chat/create and …/models/list
constinit const ChatDialect kOpenAI{
    .service = kOpenAIService,
    .instructionsStart = R"({"role":"developer","content":)",
    .turn = {.path = "/v1/chat/completions",
             .noModelLabel = ": p/v1/chat/completions",
             .noJsonLabel = ": g/v1/chat/completions",  // the other method's label, as hosts know it
             .formatLabel = ": p/v1/chat/completions"},
    .stream = completions::kStream,
    .entry = completions::kEntry,
    .writeBody = completions::writeBody,
    .readReply = completions::readReply,
    .readDetails = completions::readDetails,
    .place = {__FILE__, __LINE__},
};

#include "service.h"

#include <ostream>

void PrintTo(const Service& service, std::ostream* out) { *out << service.name; }

const std::vector<Service>& chatServices() {
  static const std::vector<Service> kServices{
      {.name = "openai",
       .type = OPENAI_v1,
       .defaultHost = "https://api.openai.com",
       .modelsPath = "/v1/models",
       .chatPath = "/v1/chat/completions",
       .modelsBody = R"({"object":"list","data":[{"id":"old","object":"model","created":1686935002,"owned_by":"x"},)"
                     R"({"id":"new","object":"model","created":1741569952}]})",
       .modelsInIt = {"new", "old"},
       .noModelError = "Model is empty: p/v1/chat/completions",
       .noJsonError = "Invalid response: g/v1/chat/completions",
       .formatError = "Unsupported data format: p/v1/chat/completions",
       .modelsNoJsonError = "Unsupported data format: g/v1/models",
       .modelsFormatError = "Unsupported data format: g/v1/models",
       .emptyReplyBody = R"({"choices":[]})",
       .replyBody = R"({"id":"c","object":"chat.completion","choices":[)"
                    R"({"index":0,"message":{"role":"assistant","content":"two ","refusal":null}},)"
                    R"({"index":1,"message":{"role":"assistant","content":"parts"}}],"usage":{"total_tokens":3}})",
       .wrongFormatBody = R"({"choices":{}})",
       .instructionsPart = R"({"role":"developer","content":"I\n\n"})",
       .historyPart = R"([{"role":"user","content":"first"},{"role":"assistant","content":"two parts"},)"
                      R"({"role":"user","content":"second"}])",
       .temperaturePart = R"("temperature":0.7)"},
  };
  return kServices;
}

#include "bare_parse.h"

#include <rapidjson/reader.h>

#include <stdexcept>

namespace {

struct Nothing : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Nothing> {
  bool Default() { return true; }
};

}  // namespace

void parseBare(const std::string& text) {
  rapidjson::StringStream stream(text.c_str());
  rapidjson::Reader reader;
  Nothing nothing;
  if (reader.Parse(stream, nothing).IsError()) throw std::runtime_error("the text is no JSON");
}

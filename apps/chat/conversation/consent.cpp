#include "conversation/consent.h"

#include "terminal/rendering.h"

#include <cf/text.h>

#include <istream>
#include <ostream>

namespace {

bool isYes(const std::string& line) {
  const std::string answer = cfTrimAsString(line);
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace

bool askToAgree(const std::string& question, const Streams& streams) {
  streams.err << terminalSafe(question) << " [y/N] " << std::flush;
  std::string line;
  if (!std::getline(streams.in, line)) streams.in.clear();  // a no ends nothing but the question
  return isYes(line);
}

bool askToAgree(const std::string& question, LineEditor& editor, std::ostream& err) {
  err << terminalSafe(question) << '\n' << std::flush;
  const TypedLine line = editor.readLine("[y/N] ");
  return line.kind == TypedLine::Kind::Text && isYes(line.text);
}

#include "conversation/consent.h"

#include "terminal/rendering.h"

#include <cf/text.h>

#include <istream>
#include <ostream>

bool askToAgree(const std::string& question, const Streams& streams) {
  streams.err << terminalSafe(question) << " [y/N] " << std::flush;
  std::string line;
  std::getline(streams.in, line);
  const std::string answer = cfTrimAsString(line);
  return answer == "y" || answer == "Y" || answer == "yes";
}

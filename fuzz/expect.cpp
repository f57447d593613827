#include "expect.h"

#include "host.h"

#include <cf/text.h>

#include <cstdlib>
#include <iostream>

void expect(bool holds, std::string_view rule, std::string_view seen) {
  if (holds) return;
  std::cerr << "Broken: " << rule << "\nSeen: " << seen << std::endl;
  std::abort();
}

void expectErrorText(std::string_view text, std::string_view reply) {
  expect(!text.empty(), "an error has a text");
  expect(cfIsUTF8(text) || text == reply, "an error's text is UTF-8", text);
}

void expectNoKey(std::string_view text, std::string_view input) {
  if (input.find(kKey) == std::string_view::npos) {
    expect(text.find(kKey) == std::string_view::npos, "the key goes into requests alone", text);
  }
}

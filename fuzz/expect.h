// What every rule that a target looks after ends in.
#pragma once

#include <string_view>

/// Ends the process, as a finding, when the rule does not hold; tells the rule and what was seen.
void expect(bool holds, std::string_view rule, std::string_view seen = {});

/// What goes for any text that the library says when something failed: it is not empty, and it is UTF-8 unless it is
/// the reply itself, which any bytes may be.
void expectErrorText(std::string_view text, std::string_view reply = {});

/// What goes for all that leaves the library: no key in it but one that the input brought.
void expectNoKey(std::string_view text, std::string_view input);

// The code blocks of a text in Markdown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A block between two fences of ``` or ~~~.
struct FencedCode {
  std::string language;  // the first word behind the opening fence, in lower case; "" when there is none
  std::string code;      // its lines, without the fence's indentation
};

/// The fenced blocks of `markdown` in their order, those within list items included. One that nothing closes goes up to
/// the end. Linear time.
std::vector<FencedCode> findFencedCode(std::string_view markdown);

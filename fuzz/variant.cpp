// A variant of any shape and with any bytes in its texts, written as JSON and read again.
#include "expect.h"
#include "targets.h"
#include "variants.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <cmath>
#include <cstring>
#include <string>
#include <utility>

namespace {

constexpr unsigned kDeepest = 300;  // beyond what JSON is written of

/// Makes a variant of bytes: "[" items "]", "{" pairs of texts and values "}", "#" with the eight bytes of a double,
/// "n" for Null; else a text up to the next byte of 0x1e, whatever is in it.
class Maker {
 public:
  explicit Maker(std::string_view bytes) : rest_(bytes) {}

  CMVariant make(unsigned depth = 0) {
    if (rest_.empty()) return {};
    if (depth == kDeepest) return makeText();
    if (take('[')) return makeList(depth + 1);
    if (take('{')) return makeMap(depth + 1);
    if (take('#')) return makeNumber();
    if (take('n')) return {};
    return makeText();
  }

 private:
  bool take(char expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  CMVariant makeList(unsigned depth) {
    CMVariantList list;
    while (!rest_.empty() && !take(']')) list.push_back(make(depth));
    return list;
  }

  CMVariant makeMap(unsigned depth) {
    CMVariantMap map;
    while (!rest_.empty() && !take('}')) {
      std::string key = makeText();
      map[std::move(key)] = make(depth);
    }
    return map;
  }

  CMVariant makeNumber() {
    double number = 0.0;
    const std::string_view bytes = rest_.substr(0, sizeof number);
    std::memcpy(&number, bytes.data(), bytes.size());
    rest_.remove_prefix(bytes.size());
    return number;
  }

  std::string makeText() {
    const std::size_t end = std::min(rest_.find('\x1e'), rest_.size());
    std::string text(rest_.substr(0, end));
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    return text;
  }

  std::string_view rest_;
};

void expectNumberKept(const CMVariant& value) {
  if (value.getValueType() != CMVariant::ValueType::Double || !std::isfinite(value.doubleValue())) return;
  const std::string text = value.stringValue();
  expect(CMVariant(text).doubleValue() == value.doubleValue(), "a number's text reads as the number", text);
}

void expectCopiesEqual(const CMVariant& value, const std::string& written) {
  CMVariant copy(value);
  expect(cfWriteJson(copy) == written, "a copy is the same", written);
  const CMVariant moved(std::move(copy));
  expect(cfWriteJson(moved) == written, "what is moved is the same", written);
  CMVariant list(CMVariantList{moved});
  list = list.listRef().front();
  expect(cfWriteJson(list) == written, "a part may take the place of the whole", written);
}

}  // namespace

void fuzzVariant(std::string_view input) {
  const CMVariant value = Maker(input).make();
  const std::string written = cfWriteJson(value);
  const COJson json(written);
  expect(json.getIsValidJson(), "what is written is JSON", written);
  expect(cfCreateCOJsonFromCMVariant(value).obtainJsonString() == written, "both ways of writing agree", written);
  // Keys that differ in ill-formed bytes alone are written alike, and are one when read.
  const std::string again = cfWriteJson(variantOf(json));
  expect(again == written || !cfIsUTF8(input), "what is written reads as it was", written);
  expect(cfWriteJson(variantOf(COJson(again))) == again, "writing again changes nothing", again);
  expectNumberKept(value);
  expectCopiesEqual(value, written);
}

// JSON text, read and written: what is read can be written, and reads as the same again.
#include "expect.h"
#include "targets.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace {

bool areEqual(const ICOJsonValue& left, const ICOJsonValue& right);

bool areEqualArrays(const ICOJsonValue& left, const ICOJsonValue& right) {
  if (left.obtainArraySize() != right.obtainArraySize()) return false;
  for (std::size_t i = 0; i < left.obtainArraySize(); ++i) {
    if (!areEqual(*left.obtainArrayItem(i), *right.obtainArrayItem(i))) return false;
  }
  return true;
}

bool areEqualObjects(const ICOJsonValue& left, const ICOJsonValue& right) {
  const std::vector<COJsonMember> ofLeft = left.obtainJsonMembers();
  const std::vector<COJsonMember> ofRight = right.obtainJsonMembers();
  return std::equal(ofLeft.begin(), ofLeft.end(), ofRight.begin(), ofRight.end(),
                    [](const COJsonMember& one, const COJsonMember& other) {
                      return one.key == other.key && areEqual(*one.value, *other.value);
                    });
}

bool areEqual(const ICOJsonValue& left, const ICOJsonValue& right) {
  return left.obtainType() == right.obtainType() && left.obtainString() == right.obtainString() &&
         left.obtainNumber() == right.obtainNumber() && left.obtainBool() == right.obtainBool() &&
         areEqualArrays(left, right) && areEqualObjects(left, right);
}

void expectWritable(const COJson& json) {
  const std::string written = json.obtainJsonString();
  const COJson again(written);
  expect(again.getIsValidJson(), "what is written is JSON", written);
  expect(areEqual(json, again), "what is written reads as it was", written);
  expect(again.obtainJsonString() == written, "writing again changes nothing", written);
}

/// Any bytes as a string in JSON.
void expectStringWritable(std::string_view text) {
  std::string written;
  cfAppendJsonString(written, text);
  const COJson json(written);
  expect(json.obtainType() == JsonType::String, "a string is written as one", written);
  expect(json.obtainString() == cfToUTF8(text), "a string reads as it was", written);
}

}  // namespace

void fuzzJson(std::string_view input) {
  expectStringWritable(input);
  const std::string text(input);
  const COJson json(input);
  const bool isValid = json.getIsValidJson();
  expect(cfIsJson(text) == isValid, "all ways of reading agree on what is valid", input);
  const COJson reference = COJson::readReference(text);
  expect(reference.getIsValidJson() == isValid, "all ways of reading agree on what is valid", input);
  expect(areEqual(json, reference), "all ways of reading agree on what is read", input);
  if (!isValid) return expect(json.obtainType() == JsonType::Null, "what is invalid reads as null", input);
  expect(cfIsUTF8(input), "JSON is UTF-8", input);
  expect(!cfIsJson(text + "]"), "JSON is one value and nothing behind it", input);
  expectWritable(json);
}

// Translation of the library's own texts, and the state behind the exports.
#include "qai_exports.h"

#include <qai.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

int calls = 0;
std::string lastName;
std::string lastText;

void writeNothing(const char* /*name*/, void* /*data*/) { ++calls; }

void writeX(const char* name, void* data) {
  auto* info = static_cast<QAICallbackLocalizationInfo*>(data);
  ++calls;
  lastName = name;
  lastText = info->text;
  std::strcpy(info->buffer, "X");
}

void copyBufferBack(const char* /*name*/, void* data) {
  auto* info = static_cast<QAICallbackLocalizationInfo*>(data);
  for (const char byte : info->buffer) calls += byte == '\0' ? 0 : 1;
}

void fillBuffer(const char* /*name*/, void* data) {
  auto* info = static_cast<QAICallbackLocalizationInfo*>(data);
  std::memset(info->buffer, 'a', sizeof info->buffer - 1);
}

class Localisation : public testing::Test {
 protected:
  void SetUp() override { calls = 0; }
  void TearDown() override { QAIRegisterCallback(nullptr); }
};

TEST_F(Localisation, WithoutCallbackTheTextStays) { EXPECT_EQ(localizeString("Invalid response"), "Invalid response"); }

TEST_F(Localisation, CallbackIsAskedByNameAndItsAnswerReplacesTheText) {
  QAIRegisterCallback(writeX);
  EXPECT_EQ(localizeString("Invalid response"), "X");
  EXPECT_EQ(lastName, "QAILocalizeString");
  EXPECT_EQ(lastText, "Invalid response");
}

TEST_F(Localisation, EmptyAnswerLeavesTheText) {
  QAIRegisterCallback(writeNothing);
  EXPECT_EQ(localizeString("Timeout"), "Timeout");
  EXPECT_EQ(calls, 1);
}

TEST_F(Localisation, EmptyTextIsNotOfferedForTranslation) {
  QAIRegisterCallback(writeX);
  EXPECT_EQ(localizeString(""), "");
  EXPECT_EQ(calls, 0);
}

TEST_F(Localisation, BufferArrivesZeroFilled) {
  QAIRegisterCallback(copyBufferBack);
  localizeString("text");
  EXPECT_EQ(calls, 0);
}

TEST_F(Localisation, LongestAnswerIsTakenWhole) {
  QAIRegisterCallback(fillBuffer);
  EXPECT_EQ(localizeString("text"), std::string(1023, 'a'));
}

TEST_F(Localisation, NullUnregisters) {
  QAIRegisterCallback(writeX);
  QAIRegisterCallback(nullptr);
  EXPECT_EQ(localizeString("text"), "text");
}

TEST(LocalizationInfo, StartsZeroed) {
  const QAICallbackLocalizationInfo info;
  EXPECT_EQ(info.text, nullptr);
  for (const char byte : info.buffer) ASSERT_EQ(byte, '\0');
}

QAICallbackLocalizationInfo filledInfo(const char* text) {
  QAICallbackLocalizationInfo info;
  info.text = text;
  std::memset(info.buffer, 'b', sizeof info.buffer);  // to the last byte, past any NUL
  return info;
}

TEST(LocalizationInfo, CopyAssignmentCopiesThePointerAndTheWholeBuffer) {
  const char* text = "text";
  const QAICallbackLocalizationInfo from = filledInfo(text);
  QAICallbackLocalizationInfo to;
  EXPECT_EQ(&(to = from), &to);
  EXPECT_EQ(to.text, text);
  EXPECT_EQ(std::memcmp(to.buffer, from.buffer, sizeof to.buffer), 0);
}

TEST(LocalizationInfo, AssignedToItselfStays) {
  QAICallbackLocalizationInfo info = filledInfo("text");
  const QAICallbackLocalizationInfo& same = info;
  EXPECT_EQ(&(info = same), &info);
  EXPECT_STREQ(info.text, "text");
  EXPECT_EQ(info.buffer[sizeof info.buffer - 1], 'b');
}

TEST(LocalizationInfo, MoveAssignmentIsAPlainCopy) {
  const char* text = "text";
  QAICallbackLocalizationInfo from = filledInfo(text);
  QAICallbackLocalizationInfo to;
  to = std::move(from);
  EXPECT_EQ(to.text, text);
  EXPECT_EQ(from.text, text);  // NOLINT(bugprone-use-after-move): that it stays is the point
  EXPECT_EQ(std::memcmp(to.buffer, from.buffer, sizeof to.buffer), 0);
}

TEST(HTTPSettings, AreCopiedIntoTheLibrary) {
  CMRestGlobalSettings settings;
  settings.userAgent = "host/1.0";
  QAISetHTTPSettings(settings);
  settings.userAgent = "changed later";
  EXPECT_EQ(httpSettings.userAgent, "host/1.0");
  QAISetHTTPSettings({});
  EXPECT_EQ(httpSettings.userAgent, CMRestGlobalSettings().userAgent);
}

struct Counted final : IQAIObject {
  explicit Counted(int& destroyed) : destroyed_(destroyed) {}
  ~Counted() override { ++destroyed_; }
  int& destroyed_;
};

TEST(FreeObject, DestroysThroughTheInterface) {
  int destroyed = 0;
  QAIFreeObject(new Counted(destroyed));
  EXPECT_EQ(destroyed, 1);
}

TEST(FreeObject, NullDoesNothing) { EXPECT_NO_FATAL_FAILURE(QAIFreeObject(nullptr)); }

}  // namespace

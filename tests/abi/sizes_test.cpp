// Sizes and layouts of what crosses the boundary by value. A host built earlier relies on each of them.
#include "stream_options.h"

#include <qai.h>
#include <qai_extensions.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>

namespace {

static_assert(sizeof(void*) == 8, "the library is for 64-bit hosts");

TEST(Sizes, LocalizationInfoIsThePointerAndTheBuffer) {
  EXPECT_EQ(sizeof(QAICallbackLocalizationInfo), 8U + 1024U);
  EXPECT_EQ(offsetof(QAICallbackLocalizationInfo, text), 0U);
  EXPECT_EQ(offsetof(QAICallbackLocalizationInfo, buffer), 8U);
  EXPECT_TRUE(std::is_standard_layout_v<QAICallbackLocalizationInfo>);
}

TEST(Sizes, SelectorIs32BitsWithFixedValues) {
  EXPECT_EQ(sizeof(QAIAssistantType), 4U);
  EXPECT_EQ(OPENAI_v1, 0);
  EXPECT_EQ(OPENAI, 1);
  EXPECT_EQ(GOOGLE, 2);
  EXPECT_EQ(DEEPSEEK, 3);
  EXPECT_EQ(OLLAMA, 4);
}

TEST(Sizes, InterfacesAreOnePointerToTheirTable) {
  EXPECT_EQ(sizeof(IQAIObject), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIAssistant), sizeof(void*));
  EXPECT_EQ(sizeof(IQAISession), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIMessage), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIMessageSection), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIProperties), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIExtensible), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIStreaming), sizeof(void*));
  EXPECT_EQ(sizeof(IQAIMessageDetails), sizeof(void*));
}

/// Where its fields lie, stream_options.h says.
TEST(Sizes, StreamOptionsBeginWithTheirSizeAndMeanWhatTheyMeant) {
  const QAIStreamOptions options;
  EXPECT_TRUE(std::is_standard_layout_v<QAIStreamOptions>);
  EXPECT_EQ(options.size, 40U);
  EXPECT_TRUE(options.asksForUsage);
  EXPECT_EQ(QAIStreamOptions::kFromSettings.count(), -1);
  EXPECT_EQ(options.idleTimeout, QAIStreamOptions::kFromSettings);
  EXPECT_EQ(options.totalTimeout, QAIStreamOptions::kFromSettings);
  EXPECT_EQ(options.mostTextBytes, 16U << 20);
  EXPECT_EQ(options.stop, nullptr);
}

TEST(Sizes, SinksAreFunctionsOfAPiece) {
  EXPECT_TRUE((std::is_same_v<IQAIStreaming::Sink, std::function<bool(std::string_view)>>));
}

TEST(Sizes, ExtensionsHaveTheIdentifiersThatHostsAskFor) {
  EXPECT_STREQ(IQAIStreaming::kId, "qai.streaming/1");
  EXPECT_STREQ(IQAIMessageDetails::kId, "qai.message-details/1");
}

TEST(Sizes, VariantTypesHaveFixedCodes) {
  EXPECT_EQ(sizeof(CMVariant::ValueType), 4U);
  EXPECT_EQ(static_cast<int>(CMVariant::ValueType::Null), 0);
  EXPECT_EQ(static_cast<int>(CMVariant::ValueType::String), 1);
  EXPECT_EQ(static_cast<int>(CMVariant::ValueType::Double), 5);
  EXPECT_EQ(static_cast<int>(CMVariant::ValueType::List), 6);
  EXPECT_EQ(static_cast<int>(CMVariant::ValueType::Map), 7);
}

TEST(Sizes, TransportFailuresHaveFixedCodes) {
  constexpr CFRestError kInOrder[] = {CFRestError::BadRequest, CFRestError::HostNotFound,  CFRestError::CouldNotConnect,
                                      CFRestError::TLSFailed,  CFRestError::TimedOut,      CFRestError::ConnectionLost,
                                      CFRestError::NotHTTP,    CFRestError::ReplyTooLarge, CFRestError::ProxyRefused,
                                      CFRestError::Cancelled,  CFRestError::Failed,        CFRestError::Stopped};
  EXPECT_EQ(sizeof(CFRestError), 4U);
  EXPECT_EQ(static_cast<int>(CFRestError::None), 0);
  int code = 10'001;
  for (const CFRestError error : kInOrder) EXPECT_EQ(static_cast<int>(error), code++);
}

TEST(Sizes, JsonTypesHaveFixedCodes) {
  constexpr JsonType kInOrder[] = {JsonType::Null,   JsonType::Object, JsonType::Array,
                                   JsonType::String, JsonType::Number, JsonType::Bool};
  EXPECT_EQ(sizeof(JsonType), 1U);
  int code = 0;
  for (const JsonType type : kInOrder) EXPECT_EQ(static_cast<int>(type), code++);
}

/// A host makes documents. What a value is beyond this pointer only the library sees.
TEST(Sizes, JsonDocumentsAreTwoPointers) {
  EXPECT_EQ(sizeof(COJsonValue), sizeof(void*));
  EXPECT_EQ(sizeof(COJson), 2 * sizeof(void*));
}

TEST(Sizes, VariantAndSettingsStayAsTheyAre) {
#if defined(_ITERATOR_DEBUG_LEVEL) && _ITERATOR_DEBUG_LEVEL > 0
  GTEST_SKIP() << "Microsoft's library adds to each container when it checks iterators";
#else
  EXPECT_EQ(sizeof(CMVariant), 40U);
  EXPECT_EQ(sizeof(CMRestGlobalSettings), 136U);
#endif
}

}  // namespace

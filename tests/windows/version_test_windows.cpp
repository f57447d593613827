// The version that the properties of our files show.
#include "program_folder_windows.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

struct Versioned {
  const char* file;
  const char* version;
};

class Version : public testing::TestWithParam<Versioned> {
 protected:
  void SetUp() override {
    const std::wstring file = (programFolder() / GetParam().file).wstring();
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    ASSERT_GT(size, 0U) << "no version in " << GetParam().file;
    block_.resize(size);
    ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), 0, size, block_.data()));
  }

  std::wstring obtainText(const std::wstring& name) {
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = L"\\StringFileInfo\\040904B0\\" + name;
    if (!VerQueryValueW(block_.data(), path.c_str(), &text, &length) || length == 0) return L"";
    return static_cast<const wchar_t*>(text);
  }

  std::vector<std::byte> block_;
};

TEST_P(Version, IsTheFilesOwn) {
  void* value = nullptr;
  UINT size = 0;
  ASSERT_TRUE(VerQueryValueW(block_.data(), L"\\", &value, &size));
  ASSERT_EQ(size, sizeof(VS_FIXEDFILEINFO));
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
  const std::string number = std::to_string(HIWORD(fixed->dwFileVersionMS)) + '.' +
                             std::to_string(LOWORD(fixed->dwFileVersionMS)) + '.' +
                             std::to_string(HIWORD(fixed->dwFileVersionLS));
  const std::string text = GetParam().version;
  EXPECT_EQ(number, text);
  EXPECT_EQ(obtainText(L"FileVersion"), std::wstring(text.begin(), text.end()));
  EXPECT_EQ(obtainText(L"ProductName"), L"libqai");
}

TEST_P(Version, NamesTheFile) {
  const std::string file = GetParam().file;
  EXPECT_EQ(obtainText(L"OriginalFilename"), std::wstring(file.begin(), file.end()));
  EXPECT_NE(obtainText(L"FileDescription"), L"");
}

std::string nameOf(const testing::TestParamInfo<Versioned>& row) {
  std::string name = row.param.file;
  for (char& character : name) {
    if (character == '.' || character == '-') character = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Libraries, Version,
                         testing::Values(Versioned{"cf.dll", CF_VERSION}, Versioned{"qai.dll", QAI_VERSION}), nameOf);
#ifdef QAI_WITH_APPS
INSTANTIATE_TEST_SUITE_P(Programs, Version,
                         testing::Values(Versioned{"qai-chat.exe", QAI_VERSION},
                                         Versioned{"qai-standin.exe", QAI_VERSION}),
                         nameOf);
#endif

}  // namespace

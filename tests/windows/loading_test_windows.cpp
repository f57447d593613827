// The DLLs as a host loads and leaves them.
#include "program_folder_windows.h"
#include "support/temporary_folder.h"

#include <cf/rest.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace {

#if defined(_MSC_VER)
constexpr const char* kCreatePool = "?createHTTPPoolCenter@CF@@YAPEAVICSHTTPPoolCenter@@XZ";
#else
constexpr const char* kCreatePool = "_ZN2CF20createHTTPPoolCenterEv";
#endif

HMODULE load(const std::filesystem::path& file) {
  return LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

std::filesystem::path fileOf(HMODULE module) {
  std::wstring file(MAX_PATH, L'\0');
  file.resize(GetModuleFileNameW(module, file.data(), MAX_PATH));
  return file;
}

TEST(Loading, WorksFromAFolderOfAnyName) {
  const TemporaryFolder folder("qai-\u0431\u0438\u0431\u043b\u0438\u043e\u0442\u0435\u043a\u0430");  // Cyrillic
  for (const char* name : {"cf.dll", "qai.dll"}) {
    std::filesystem::copy_file(programFolder() / name, folder.path() / name);
  }
  const HMODULE qai = load(folder.path() / "qai.dll");
  ASSERT_NE(qai, nullptr) << GetLastError();
  const HMODULE cf = GetModuleHandleW(L"cf.dll");
  ASSERT_NE(cf, nullptr);
  EXPECT_EQ(fileOf(cf).parent_path(), fileOf(qai).parent_path());
  EXPECT_EQ(fileOf(cf).parent_path().filename(), folder.path().filename());
  EXPECT_TRUE(FreeLibrary(qai));
  EXPECT_EQ(GetModuleHandleW(L"cf.dll"), nullptr) << "what made no request needn't stay";
}

// A name look-up may outlive its request, on a thread that runs code of the DLL.
TEST(Unloading, LeavesTheFoundationInPlaceOnceItMayHaveThreads) {
  const HMODULE cf = load(programFolder() / "cf.dll");
  ASSERT_NE(cf, nullptr) << GetLastError();
  const FARPROC entry = GetProcAddress(cf, kCreatePool);
  ASSERT_NE(entry, nullptr);
  ICSHTTPPoolCenter* (*createPool)() = nullptr;
  std::memcpy(&createPool, &entry, sizeof createPool);
  ICSHTTPPoolCenter* const pool = createPool();
  EXPECT_TRUE(FreeLibrary(cf));
  ASSERT_EQ(GetModuleHandleW(L"cf.dll"), cf);
  delete pool;  // by code that is still there
}

}  // namespace

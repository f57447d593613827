# What the project finds on a Windows machine with vcpkg, in name. Read when the project begins, by CMAKE_PROJECT_INCLUDE.
include_guard(GLOBAL)
set(CMAKE_HOST_WIN32 ON)

function(find_package)
endfunction()

foreach(library IN ITEMS CLI11::CLI11 CURL::libcurl GTest::gmock GTest::gtest GTest::gtest_main
    OpenSSL::Crypto OpenSSL::SSL SQLite::SQLite3 Threads::Threads Utf8proc::Utf8proc
    ZLIB::ZLIB)
  add_library(${library} SHARED IMPORTED)
  set_target_properties(${library} PROPERTIES IMPORTED_IMPLIB ${library}.lib)
endforeach()

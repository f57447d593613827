# Debian -> 64-bit Windows with MinGW-w64. QAI_WINDOWS_DEPS is the folder that tools/windows/build_deps.sh filled.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)  # the posix thread model: std::thread, std::mutex
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT QAI_WINDOWS_DEPS)
  if(DEFINED ENV{QAI_WINDOWS_DEPS})
    set(QAI_WINDOWS_DEPS $ENV{QAI_WINDOWS_DEPS})
  else()
    set(QAI_WINDOWS_DEPS ${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps)
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QAI_WINDOWS_DEPS)
set(CMAKE_FIND_ROOT_PATH ${QAI_WINDOWS_DEPS} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own libraries go into the binaries: nothing but Windows' DLLs is needed beside them.
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -static)
endforeach()
set(OPENSSL_USE_STATIC_LIBS ON)
set(ZLIB_USE_STATIC_LIBS ON)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/windows/run_wine.sh)

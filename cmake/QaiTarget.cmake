# What every target of the project has in common.

# What a system does its own way stands in NAME_posix.cpp and NAME_windows.cpp; this is the ending.
if(WIN32)
  set(QAI_SYSTEM windows)
else()
  set(QAI_SYSTEM posix)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/QaiHardening.cmake)

# qai_target(NAME): C++20 without extensions, hidden symbols, the project's warnings, the protections of QaiHardening.
function(qai_target name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  if(WIN32)
    # Programs find their DLLs beside themselves. Those are named as hosts ask for them, whatever the compiler.
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${qai_BINARY_DIR}/bin)
    get_target_property(kind ${name} TYPE)
    if(kind STREQUAL SHARED_LIBRARY)
      set_target_properties(${name} PROPERTIES PREFIX "")
    endif()
    target_compile_definitions(${name} PRIVATE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00
      _CRT_SECURE_NO_WARNINGS)  # the standard's own functions are no warning
  endif()
  if(MSVC)
    # 4062: a switch without a default that leaves an enumerator out. 4714: what is to be inlined by force may be left a
    # call. 4324: alignment by alignas pads, as it is meant to.
    set(options /W4 /w14062 /wd4714 /wd4324 /permissive- /Zc:__cplusplus /utf-8 /EHsc /bigobj $<$<BOOL:${QAI_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    # GCC 12 takes "text" + std::to_string(n) for an overlapping copy when it optimises (GCC bug 105651).
    set(options -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> $<$<BOOL:${QAI_WARNINGS_AS_ERRORS}>:-Werror>)
  endif()
  # A resource compiler knows none of these.
  target_compile_options(${name} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
  qai_harden(${name})
endfunction()

# qai_count_coverage(OBJECTS LIBRARY): with QAI_COVERAGE, counts what runs of these objects, in the library that is made
# of them and in whatever else they are linked into.
function(qai_count_coverage objects library)
  if(QAI_COVERAGE)
    # Not optimised, each line is one of its own. Atomic, as tests run the library in several threads.
    target_compile_options(${objects} PRIVATE -O0 --coverage -fprofile-update=atomic)
    target_link_options(${objects} PUBLIC --coverage)
    target_link_options(${library} PRIVATE --coverage)
  endif()
endfunction()

# qai_version_resource(NAME VERSION DESCRIPTION): on Windows the properties of the program or DLL show its version.
function(qai_version_resource name version description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(kind ${name} TYPE)
  if(kind STREQUAL SHARED_LIBRARY)
    set(file ${name}.dll)
    set(type VFT_DLL)
  else()
    set(file ${name}.exe)
    set(type VFT_APP)
  endif()
  string(REPLACE "." "," version_numbers ${version})
  string(REPLACE "." "," product_numbers ${PROJECT_VERSION})
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${name}_version.rc)
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/version.rc.in ${resource} @ONLY)
  target_sources(${name} PRIVATE ${resource})
endfunction()

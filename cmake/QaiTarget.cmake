# What every target of the project has in common.

# qai_target(NAME): C++20 without extensions, hidden symbols, the project's warnings.
function(qai_target name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  if(MSVC)
    target_compile_options(${name} PRIVATE /W4 /permissive- /utf-8 /EHsc $<$<BOOL:${QAI_WARNINGS_AS_ERRORS}>:/WX>)
  else()
    # GCC 12 takes "text" + std::to_string(n) for an overlapping copy when it optimises (GCC bug 105651).
    target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> $<$<BOOL:${QAI_WARNINGS_AS_ERRORS}>:-Werror>)
  endif()
endfunction()

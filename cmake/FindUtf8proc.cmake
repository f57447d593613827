# Utf8proc::Utf8proc: Debian's package has no CMake configuration, and other packages name theirs differently.
include(FindPackageHandleStandardArgs)
find_path(UTF8PROC_INCLUDE_DIR utf8proc.h)
find_library(UTF8PROC_LIBRARY NAMES utf8proc utf8proc_static)
mark_as_advanced(UTF8PROC_INCLUDE_DIR UTF8PROC_LIBRARY)
find_package_handle_standard_args(Utf8proc REQUIRED_VARS UTF8PROC_LIBRARY UTF8PROC_INCLUDE_DIR)
if(Utf8proc_FOUND AND NOT TARGET Utf8proc::Utf8proc)
  add_library(Utf8proc::Utf8proc UNKNOWN IMPORTED)
  set_target_properties(Utf8proc::Utf8proc PROPERTIES
    IMPORTED_LOCATION ${UTF8PROC_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${UTF8PROC_INCLUDE_DIR})
  if(WIN32)
    # Its functions are found in a static library and in a DLL alike then.
    set_target_properties(Utf8proc::Utf8proc PROPERTIES INTERFACE_COMPILE_DEFINITIONS UTF8PROC_STATIC)
  endif()
endif()

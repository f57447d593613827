# What `cmake --install` brings, in four components: what programs need to run, what hosts need to build, and a component
# for each application. The installed tree may be moved: nothing in it names the folder where it was built or installed.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qai)
set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/qai)  # whatever the name of the topmost project

# A folder below the prefix, seen from another.
function(qai_relative_dir result from to)
  file(RELATIVE_PATH path /prefix/${from} /prefix/${to})
  string(REGEX REPLACE "/$" "" path "${path}")
  set(${result} "${path}" PARENT_SCOPE)
endfunction()

# The libraries. Two export sets, for two namespaces in one package: neither library is of use in another version's
# company, so a host asks for one package and one version.
foreach(library IN ITEMS cf qai)
  install(TARGETS ${library} EXPORT ${library}_targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT qai_runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT qai_runtime NAMELINK_COMPONENT qai_development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT qai_development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT qai_development)
  install(EXPORT ${library}_targets NAMESPACE ${library}:: FILE ${library}Targets.cmake
    DESTINATION ${package_dir} COMPONENT qai_development)
endforeach()

# Where CMake knows libcurl as a shared library (as with vcpkg), the exported targets name it.
find_package(CURL REQUIRED)
set(QAI_FIND_DEPENDENCIES "")
get_target_property(curl CURL::libcurl ALIASED_TARGET)
if(NOT curl)
  set(curl CURL::libcurl)
endif()
get_target_property(curl_type ${curl} TYPE)
if(curl_type STREQUAL "SHARED_LIBRARY")
  set(QAI_FIND_DEPENDENCIES "include(CMakeFindDependencyMacro)\nfind_dependency(CURL)\n")
endif()
configure_package_config_file(cmake/qaiConfig.cmake.in ${PROJECT_BINARY_DIR}/qaiConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qaiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qaiConfig.cmake ${PROJECT_BINARY_DIR}/qaiConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT qai_development)

qai_relative_dir(QAI_PC_PREFIX ${CMAKE_INSTALL_LIBDIR}/pkgconfig "")
foreach(library IN ITEMS cf qai)
  configure_file(cmake/${library}.pc.in ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT qai_development)
endforeach()

# Each finds the libraries from where it lies itself.
if(APPLE)
  set(origin "@loader_path")
else()
  set(origin "$ORIGIN")
endif()
set_target_properties(qai PROPERTIES INSTALL_RPATH "${origin}")
qai_relative_dir(bin_to_lib ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
foreach(application IN ITEMS chat standin)
  if(NOT TARGET qai-${application})
    continue()
  endif()
  set_target_properties(qai-${application} PROPERTIES INSTALL_RPATH "${origin}/${bin_to_lib}")
  install(TARGETS qai-${application} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT qai_${application})
  if(UNIX)
    install(FILES docs/man/qai-${application}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT qai_${application})
  endif()
endforeach()

install(FILES LICENSE DESTINATION ${doc_dir} COMPONENT qai_runtime)
# The documents lie to one another as in the sources, so that their links lead somewhere here, too.
install(FILES CHANGELOG.md CONTRIBUTING.md README.md SECURITY.md DESTINATION ${doc_dir} COMPONENT qai_development)
install(DIRECTORY docs DESTINATION ${doc_dir} COMPONENT qai_development
  FILES_MATCHING PATTERN man EXCLUDE PATTERN *.md PATTERN *.svg)
install(DIRECTORY examples DESTINATION ${doc_dir} COMPONENT qai_development)

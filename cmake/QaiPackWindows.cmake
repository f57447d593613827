# One zip of everything, with the licences of what is linked in.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME qai-${PROJECT_VERSION}-windows-x64)

# QAI_WINDOWS_DEPS is where tools/windows/build_deps.sh has put the libraries; each has its licence there.
if(DEFINED QAI_WINDOWS_DEPS)
  # RapidJSON is in cf alone, so are the others but for the applications' own.
  set(linked_in curl rapidjson zlib gcc-mingw-w64)
  if(TARGET qai-chat)
    list(APPEND linked_in sqlite3 cli11 cpp-httplib openssl)
  endif()
  foreach(library IN LISTS linked_in)
    install(FILES ${QAI_WINDOWS_DEPS}/licenses/${library} DESTINATION ${CMAKE_INSTALL_DOCDIR}/licenses
      COMPONENT qai_runtime)
  endforeach()
endif()

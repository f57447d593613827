# One zip of everything, with the licences of what is linked in.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME qai-${PROJECT_VERSION}-windows-x64)

# The folder that tools/windows/build_deps.sh filled has a licence for each library that it built.
if(DEFINED QAI_WINDOWS_DEPS)
  set(linked_in curl rapidjson zlib gcc-mingw-w64)
  if(TARGET qai-chat)
    list(APPEND linked_in cli11 openssl sqlite3 utf8proc)
  endif()
  foreach(library IN LISTS linked_in)
    install(FILES ${QAI_WINDOWS_DEPS}/licenses/${library} RENAME ${library}.txt
      DESTINATION ${doc_dir}/licenses COMPONENT qai_runtime)
  endforeach()
endif()

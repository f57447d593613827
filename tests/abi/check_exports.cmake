# Fails unless LIBRARY exports exactly the symbols that EXPECTED lists, demangled. In a library for Linux the tables and
# type information of the classes that HEADERS (a folder) marks CF_TYPE may be there besides.
include(${CMAKE_CURRENT_LIST_DIR}/exported.cmake)
exported_names(${LIBRARY} exported)
file(STRINGS ${EXPECTED} expected)

set(shared "")
if(HEADERS)
  file(GLOB headers ${HEADERS}/*.h)
  foreach(header IN LISTS headers)
    file(STRINGS ${header} lines REGEX "^class CF_TYPE ")
    list(TRANSFORM lines REPLACE "^class CF_TYPE ([A-Za-z0-9_]+).*" "\\1")
    list(APPEND shared ${lines})
  endforeach()
endif()
foreach(class IN LISTS shared)
  list(REMOVE_ITEM exported "vtable for ${class}" "typeinfo for ${class}" "typeinfo name for ${class}")
endforeach()

set(missing ${expected})
list(REMOVE_ITEM missing ${exported})
set(surplus ${exported})
list(REMOVE_ITEM surplus ${expected})
if(missing OR surplus)
  list(JOIN missing "\n  " missing)
  list(JOIN surplus "\n  " surplus)
  message(FATAL_ERROR "Hosts find ${LIBRARY} by these symbols alone, so they are its contract (${EXPECTED}).\n"
    "Missing:\n  ${missing}\nNot in the list:\n  ${surplus}")
endif()

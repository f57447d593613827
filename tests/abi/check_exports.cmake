# Fails unless LIBRARY exports exactly the symbols that EXPECTED lists, demangled and sorted.
execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY}
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "[^\n]* [A-Za-z] ([^\n]*)" "\\1" exported "${listing}")
string(REPLACE ";" "\\;" exported "${exported}")
string(REGEX REPLACE "\n$" "" exported "${exported}")
string(REPLACE "\n" ";" exported "${exported}")
list(SORT exported)
file(STRINGS ${EXPECTED} expected)
list(SORT expected)
if(NOT exported STREQUAL expected)
  list(JOIN exported "\n  " exported)
  list(JOIN expected "\n  " expected)
  message(FATAL_ERROR "Hosts find the library by these symbols alone, so they are its contract.\n"
    "It exports\n  ${exported}\nand should export\n  ${expected}")
endif()

# Fails unless DOCUMENT holds the file EXAMPLE as a block of C++.
file(READ "${DOCUMENT}" document)
file(READ "${EXAMPLE}" example)
string(FIND "${document}" "\n```cpp\n${example}```\n" place)
if(place EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show ${EXAMPLE} as it stands")
endif()

cmake_minimum_required(VERSION 3.25)

# Fails when a header of one operating system is included in a file whose name does not say so: NAME_posix, NAME_windows,
# or either with _test behind it. The folders of the project at ROOT are searched, but for the benchmarks, which are for
# Linux alone.
set(posix_only aio arpa/ dirent dlfcn fcntl grp netdb netinet/ poll pthread pwd sched semaphore spawn strings sys/ syslog
  termios unistd utime)
set(windows_only conio direct io process schannel shellapi shlobj tlhelp32 wincrypt windows winsock winsock2 winver
  ws2tcpip)

foreach(folder IN ITEMS apps cf fuzz include src tests)
  file(GLOB_RECURSE files ${ROOT}/${folder}/*.cpp ${ROOT}/${folder}/*.h ${ROOT}/${folder}/*.hpp)
  if(NOT files)
    message(FATAL_ERROR "There is nothing in ${ROOT}/${folder}")
  endif()
  foreach(file IN LISTS files)
    file(STRINGS ${file} includes REGEX "^ *# *include *<")
    foreach(include IN LISTS includes)
      string(REGEX REPLACE "^ *# *include *<([^>]*)>.*" "\\1" header "${include}")
      string(REGEX REPLACE "^([a-z0-9]+/).*" "\\1" key "${header}")
      string(REGEX REPLACE "\\.h$" "" key "${key}")
      foreach(system IN ITEMS posix windows)
        if(key IN_LIST ${system}_only AND NOT file MATCHES "_${system}(_test)?\\.(cpp|h|hpp)$")
          list(APPEND strays "${file} includes <${header}>: only a file named *_${system} may")
        endif()
      endforeach()
    endforeach()
  endforeach()
endforeach()
if(strays)
  list(JOIN strays "\n" strays)
  message(FATAL_ERROR "${strays}")
endif()

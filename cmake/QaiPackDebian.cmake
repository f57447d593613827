# A Debian package for each component. Configure with the preset `deb`: its prefix is /usr, and it needs no RPATH there.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0qai1)  # below any of Debian's own
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_DEBIAN_PACKAGE_SOURCE qai)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What the programs need is read from them; what they need of ours is the package of the same version, because a host
# and the library share C++ types.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/cf)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# debian_package(COMPONENT NAME SECTION DEPENDS SUMMARY TEXT). The text's lines are filled here as they stand.
macro(debian_package component name section depends summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DEPENDS ${depends})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}")
endmacro()

debian_package(qai_runtime libqai0 libs "" "conversational AI services behind one binary interface"
"libqai lets an application's users talk to conversational AI services
about their database, such as OpenAI, Gemini or a server of their own. It
turns a description of the database into DDL, sends it with the
conversation and hands back the replies.
.
This package has the libraries libqai and libcf, its foundation.")
debian_package(qai_development libqai-dev libdevel qai_runtime "conversational AI services - development files"
"libqai lets an application's users talk to conversational AI services
about their database.
.
This package has the headers, and the files by which CMake and pkg-config
find the libraries.")
debian_package(qai_chat qai-chat utils qai_runtime "ask an AI service about a database, on the terminal"
"qai-chat answers questions about an SQLite database through any of the
services that libqai talks to. Only the structure of the database goes to
the service, never its rows.")
debian_package(qai_standin qai-standin utils qai_runtime "stand-in for conversational AI services on the loopback"
"qai-standin speaks the protocols of all services that libqai talks to, on
a port of this machine, and answers from rules. It is meant for tests and
for a first try without a key.")

# What Debian wants in a package besides what is installed elsewhere too.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX REPLACE "\n+" "\n" license "${license}")
string(REGEX REPLACE "([^\n]+\n)" " \\1" license "${license}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian_copyright.in ${PROJECT_BINARY_DIR}/debian_copyright @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian_extras.cmake.in ${PROJECT_BINARY_DIR}/debian_extras.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian_extras.cmake)

# By library and version, as a host keeps running with every later library of the major version; a list of symbols would
# name hundreds that the compiler makes.
set(control ${PROJECT_BINARY_DIR}/debian_control)
file(CONFIGURE OUTPUT ${control}/shlibs @ONLY CONTENT
"libcf @CF_VERSION_MAJOR@ libqai0 (>= @PROJECT_VERSION@)
libqai @PROJECT_VERSION_MAJOR@ libqai0 (>= @PROJECT_VERSION@)
")
file(CONFIGURE OUTPUT ${control}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_QAI_RUNTIME_PACKAGE_CONTROL_EXTRA ${control}/shlibs ${control}/triggers)
# CPack would have ldconfig run by scripts, where Debian has a trigger.
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian_repack.cmake.in ${PROJECT_BINARY_DIR}/debian_repack.cmake @ONLY)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian_repack.cmake)

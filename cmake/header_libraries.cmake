# Libraries of the build machine that are headers only, for the programs for Windows: CLI11 for
# command lines, nlohmann-json for JSON. The folder in which they lie has the headers of the build
# machine's system, too, which a cross compiler must not see; so they are led into one of their own.
if(NOT WIN32)
  return()
endif()
find_path(QMZ_CLI11 CLI/CLI.hpp REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/include DOC "Folder of CLI11's headers, of libcli11-dev")
find_path(QMZ_JSON nlohmann/json.hpp REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/include DOC "Folder of the JSON headers, of nlohmann-json3-dev")
set(header_folder ${CMAKE_BINARY_DIR}/header_libraries)
file(MAKE_DIRECTORY ${header_folder})
file(CREATE_LINK ${QMZ_CLI11}/CLI ${header_folder}/CLI SYMBOLIC)
file(CREATE_LINK ${QMZ_JSON}/nlohmann ${header_folder}/nlohmann SYMBOLIC)

add_library(qmzentrel_header_libraries INTERFACE)
target_include_directories(qmzentrel_header_libraries SYSTEM INTERFACE ${header_folder})

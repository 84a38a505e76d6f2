# qmzentrel_test_sources(TARGET [WINDOWS]): a test program, or a library for some. What proves the
# product is compiled as fast as can be; the product keeps its flags, and its sources are compiled
# one by one as they stand.
# - Without optimisation, but for what a fuzzer runs, and without a section for each function, of which
#   the linker has to look through ten thousands.
# - On headers of others that are compiled once; WINDOWS: with <windows.h> and automation, which the
#   core has to do without. A source includes what it needs all the same.
# - Several at a time, so that what their headers bring along is made once for all of them. Names
#   that are local to a source have to differ from those of the sources around it.
option(QMZ_UNITE_TESTS "Compile the sources of tests several at a time" ON)

add_library(qmzentrel_test_options INTERFACE)
if(NOT QMZ_FUZZ)
  target_compile_options(qmzentrel_test_options INTERFACE -O0)
endif()
target_compile_options(qmzentrel_test_options INTERFACE -fno-function-sections -fno-data-sections)
target_link_libraries(qmzentrel_test_options INTERFACE qmzentrel_options GTest::gtest)

function(qmzentrel_test_headers name)
  add_library(${name} OBJECT ${CMAKE_SOURCE_DIR}/cmake/test_headers.cpp)
  target_link_libraries(${name} PRIVATE qmzentrel_test_options)
  target_precompile_headers(${name} PRIVATE <algorithm> <array> <functional> <limits> <map>
    <memory> <optional> <stdexcept> <string> <string_view> <utility> <variant> <vector>
    <gtest/gtest.h> ${ARGN})
endfunction()
qmzentrel_test_headers(test_headers)
if(WIN32)
  qmzentrel_test_headers(test_headers_windows <windows.h> <oleauto.h>)
endif()

function(qmzentrel_test_sources target)
  cmake_parse_arguments(with "WINDOWS" "" "" ${ARGN})
  target_link_libraries(${target} PRIVATE qmzentrel_test_options)
  if(with_WINDOWS)
    target_precompile_headers(${target} REUSE_FROM test_headers_windows)
  else()
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${QMZ_UNITE_TESTS})
endfunction()

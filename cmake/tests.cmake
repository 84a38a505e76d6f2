# One CTest entry per test program: a process per single test would be slow under Wine. A Windows
# program runs in a Wine prefix that no other test uses meanwhile, so that tests which register, set
# registry values or need a serial port can run side by side.
if(WIN32)
  set(QMZ_WITH_PREFIX ${CMAKE_SOURCE_DIR}/tests/with_prefix)
  set(QMZ_WITH_LIMIT ${CMAKE_SOURCE_DIR}/tests/with_limit)
  set(QMZ_WINE_RUN ${CMAKE_SOURCE_DIR}/tools/wine/run)
  set(QMZ_WITH_BOX ${CMAKE_SOURCE_DIR}/tools/wine/with_box)
endif()

# qmzentrel_native_test(NAME COMMAND...): a program or script of this machine with its arguments. What
# hangs is aborted before CTest's limit, with all that it has started, and the sanitizer says where.
function(qmzentrel_native_test name)
  add_test(NAME ${name} COMMAND timeout --signal=ABRT 240 ${ARGN})
  set_tests_properties(${name} PROPERTIES ENVIRONMENT ASAN_OPTIONS=handle_abort=1 TIMEOUT 300)
endfunction()

# qmzentrel_add_test(NAME PROGRAM [BOX])
# BOX: a virtual box stands behind a serial port while the program runs; the environment says where.
# Under Windows the environment also names the DLL, and the tests' error handler is registered.
function(qmzentrel_add_test name program)
  cmake_parse_arguments(test "BOX" "" "" ${ARGN})
  if(NOT WIN32)
    qmzentrel_native_test(${name} $<TARGET_FILE:${program}> --gtest_brief=1)
    return()
  endif()
  set(command ${QMZ_WINE_RUN} $<TARGET_FILE:${program}> --gtest_brief=1)
  if(test_BOX)
    list(PREPEND command ${QMZ_WITH_BOX})
  endif()
  qmzentrel_wine_test(${name} COMMAND ${command})
endfunction()

# qmzentrel_wine_test(NAME [BOTH_WIDTHS] [COST SECONDS] [ENVIRONMENT...] COMMAND...): a command that
# starts Windows programs, with BOTH_WIDTHS also of 64-bit Windows. What costs much begins first, also
# where no run before has shown what costs how much.
function(qmzentrel_wine_test name)
  cmake_parse_arguments(test "BOTH_WIDTHS" "COST" "ENVIRONMENT;COMMAND" ${ARGN})
  add_test(NAME ${name} COMMAND ${QMZ_WITH_PREFIX} ${test_COMMAND})
  set(fixture error_component)
  if(test_BOTH_WIDTHS)
    string(APPEND fixture _both_widths)
    list(APPEND test_ENVIRONMENT QMZ_WINE_WIDTHS=both)
  endif()
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QMZ_DLL=$<TARGET_FILE:QmZentrel>;${test_ENVIRONMENT}"
    FIXTURES_REQUIRED ${fixture}
    TIMEOUT 300)
  if(test_COST)
    set_tests_properties(${name} PROPERTIES COST ${test_COST})
  endif()
endfunction()

# qmzentrel_screen_test(NAME FOLDER [LIMIT SECONDS] COMMAND...): a command that looks at windows, in a
# prefix of its own in that folder (tests/clients/scripts/screen.sh).
function(qmzentrel_screen_test name folder)
  cmake_parse_arguments(test "" "LIMIT" "COMMAND" ${ARGN})
  if(NOT test_LIMIT)
    set(test_LIMIT 240)
  endif()
  math(EXPR last "${test_LIMIT} + 60")
  add_test(NAME ${name} COMMAND ${QMZ_WITH_LIMIT} ${test_COMMAND})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QMZ_WINEPREFIX=${folder}/wine;QMZ_TEST_LIMIT=${test_LIMIT}"
    TIMEOUT ${last})
endfunction()

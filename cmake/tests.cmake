# One CTest entry per test program: a process per single test would be slow under Wine.
#   qmzentrel_add_test(NAME PROGRAM [BOX] [DLL])
# BOX: a virtual box stands behind a serial port while the program runs; the environment says where.
# DLL: the environment names the DLL, and the tests' error handler is registered. Such programs change the registry and run one at a time.
function(qmzentrel_add_test name program)
  cmake_parse_arguments(test "BOX;DLL" "" "" ${ARGN})
  set(command ${program} --gtest_brief=1)
  set(locks)
  if(test_BOX AND WIN32)
    list(APPEND locks port)
    set(command ${CMAKE_SOURCE_DIR}/tools/wine/with_box ${CMAKE_SOURCE_DIR}/tools/wine/run
      $<TARGET_FILE:${program}> --gtest_brief=1)
  endif()
  add_test(NAME ${name} COMMAND ${command})
  if(test_DLL)
    set_property(TEST ${name} PROPERTY ENVIRONMENT QMZ_DLL=$<TARGET_FILE:QmZentrel>)
    set_property(TEST ${name} PROPERTY FIXTURES_REQUIRED error_component)
    list(APPEND locks registry)
  endif()
  set_property(TEST ${name} PROPERTY RESOURCE_LOCK ${locks})
endfunction()

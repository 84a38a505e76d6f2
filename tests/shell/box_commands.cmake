# The library with a virtual box behind a serial port, in real time.
add_executable(box_commands_tests
  box_client.cpp
  box_client_exceptions_test.cpp
  box_clients_test.cpp
  box_commands_test.cpp
  box_control.cpp
  box_faults_test.cpp
  box_port_test.cpp
  box_sub_device_test.cpp
  box_supply_test.cpp
  box_test.cpp
  port_openings.cpp
)
target_link_libraries(box_commands_tests PRIVATE shell_client virtual_box_client GTest::gtest_main)
qmzentrel_test_sources(box_commands_tests WINDOWS)

# qmzentrel_box_test(NAME ENVIRONMENT... COMMAND...): all of them register, set registry values or
# need the same ports, so that they run one at a time.
function(qmzentrel_box_test name)
  cmake_parse_arguments(test "" "" "ENVIRONMENT;COMMAND" ${ARGN})
  add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/tools/wine/with_box ${test_COMMAND})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QMZ_DLL=$<TARGET_FILE:QmZentrel>;${test_ENVIRONMENT}"
    FIXTURES_REQUIRED error_component
    RUN_SERIAL TRUE
    TIMEOUT 300)
endfunction()

set(run_box_commands
  ${CMAKE_SOURCE_DIR}/tests/shell/with_test_ports ${CMAKE_SOURCE_DIR}/tools/wine/run
  $<TARGET_FILE:box_commands_tests> --gtest_brief=1)
qmzentrel_box_test(box_commands_tests COMMAND ${run_box_commands})
# In a client with the shared run-time library, whose start-up code finds another unwinder.
qmzentrel_box_test(box_commands_tests_shared_runtime
  ENVIRONMENT QMZ_SHARED_RUNTIME=1
  COMMAND ${run_box_commands})
# From COM10 on a port has no name without the device prefix.
qmzentrel_box_test(box_commands_tests_com12
  ENVIRONMENT QMZ_PORT=12
  COMMAND ${run_box_commands} --gtest_filter=BoxPort.Is*)
qmzentrel_box_test(vbscript_client_test
  COMMAND ${CMAKE_SOURCE_DIR}/tests/shell/vbscript_client_test $<TARGET_FILE:QmZentrel>)

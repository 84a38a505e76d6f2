# The library with a virtual box behind a serial port, in real time.
add_executable(box_commands_tests
  box_client.cpp
  box_client_exceptions_test.cpp
  box_clients_test.cpp
  box_commands_test.cpp
  box_control.cpp
  box_fault_matrix_test.cpp
  box_faults_test.cpp
  box_port_test.cpp
  box_sub_device_test.cpp
  box_supply_test.cpp
  box_test.cpp
  held_up.cpp
  port_openings.cpp
)
target_link_libraries(box_commands_tests PRIVATE test_client virtual_box_client GTest::gtest_main)
qmzentrel_test_sources(box_commands_tests WINDOWS)

set(run_box_commands
  ${QMZ_WITH_BOX} ${CMAKE_SOURCE_DIR}/tests/clients/scripts/with_test_ports ${QMZ_WINE_RUN}
  $<TARGET_FILE:box_commands_tests> --gtest_brief=1)
# Here times of some milliseconds, or how often a box has been asked, tell right from wrong: alone.
set(slow_wire BoxSubDevice.*ThroughASlowWire*)
set(needs_the_machine ${slow_wire}:*BoxFaultMatrix*)
set(alone ${needs_the_machine})
set(alone_shared_runtime ${slow_wire})
# Also in a client with the shared run-time library, whose start-up code finds another unwinder.
foreach(runtime IN ITEMS "" _shared_runtime)
  set(runs_with)
  if(runtime)
    set(runs_with QMZ_SHARED_RUNTIME=1)
  endif()
  # They wait most of the time: in two halves, each with boxes of its own.
  foreach(half IN ITEMS 0 1)
    qmzentrel_wine_test(box_commands_tests_${half}${runtime} COST 40
      ENVIRONMENT ${runs_with} GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=${half}
      COMMAND ${run_box_commands} --gtest_filter=-${needs_the_machine})
  endforeach()
  qmzentrel_wine_test(box_commands_tests_alone${runtime}
    ENVIRONMENT ${runs_with}
    COMMAND ${run_box_commands} --gtest_filter=${alone${runtime}})
  set_tests_properties(box_commands_tests_alone${runtime} PROPERTIES RUN_SERIAL TRUE)
endforeach()
# From COM10 on a port has no name without the device prefix.
qmzentrel_wine_test(box_commands_tests_com12
  ENVIRONMENT QMZ_PORT=12
  COMMAND ${run_box_commands} --gtest_filter=BoxPort.Is*)
qmzentrel_wine_test(vbscript_client_test
  COMMAND ${QMZ_WITH_BOX} ${CMAKE_SOURCE_DIR}/tests/clients/scripts/vbscript_client_test
    $<TARGET_FILE:QmZentrel>)
qmzentrel_wine_test(tap_test
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/scripts/tap_test $<TARGET_FILE:QmZentrel>)

# Many apartments and boxes, many threads, and clients that end anyhow, call without end or never
# look at their messages.
add_executable(hard_use_tests
  box_client.cpp
  box_control.cpp
  client_process.cpp
  crowd_test.cpp
  ending_processes_test.cpp
  ending_threads_test.cpp
  endless_recursion_test.cpp
  first_objects_test.cpp
  hard_use_main.cpp
  marshalled_clients_test.cpp
  never_pumping_test.cpp
  two_simulators_test.cpp
  ../com_box/box_process.cpp
)
target_link_libraries(hard_use_tests PRIVATE test_client dialog_window virtual_box_client
  GTest::gtest)
qmzentrel_test_sources(hard_use_tests WINDOWS)
# Loaded from beside it.
add_library(ending_plugin MODULE ending_plugin.c)
set_target_properties(ending_plugin PROPERTIES PREFIX "")
target_compile_options(ending_plugin PRIVATE -Wall -Wextra -Werror)
add_dependencies(hard_use_tests ending_plugin)

# NAME COUNT FILTER: those tests with so many boxes. One that hangs is named after two minutes,
# and ended by the limit of all tests.
function(qmzentrel_hard_use_test name boxes filter)
  qmzentrel_wine_test(${name} COST 15
    COMMAND ${QMZ_WITH_BOX} ${CMAKE_CURRENT_SOURCE_DIR}/scripts/with_crowd ${boxes} ${QMZ_WINE_RUN}
      $<TARGET_FILE:hard_use_tests> --gtest_brief=1 --gtest_filter=${filter})
endfunction()
qmzentrel_hard_use_test(hard_use_tests 6 -Crowd.*:SlowBox.*)
qmzentrel_hard_use_test(hard_use_crowd 64 Crowd.*:SlowBox.*)

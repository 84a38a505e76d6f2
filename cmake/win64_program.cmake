# qmzentrel_win64_program(NAME SOURCES...): a test program for 64-bit Windows, NAME.exe in the current
# build folder. The preset compiles for 32 bits: this compiler is called by hand, for few sources.
set(QMZ_WIN64_CXX x86_64-w64-mingw32-g++-win32 CACHE STRING "Compiler for 64-bit Windows")
set(win64_gtest_objects)
foreach(source gtest-all gtest_main)
  set(object ${CMAKE_BINARY_DIR}/win64/${source}.obj)
  add_custom_command(OUTPUT ${object}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/win64
    COMMAND ${QMZ_WIN64_CXX} -std=c++20 -O0 -I${CMAKE_SOURCE_DIR}/cmake/googletest
      -I${QMZ_GTEST_SOURCE}/googletest -I${QMZ_GTEST_SOURCE}/googletest/include
      -c ${QMZ_GTEST_SOURCE}/googletest/src/${source}.cc -o ${object}
    VERBATIM)
  list(APPEND win64_gtest_objects ${object})
endforeach()

function(qmzentrel_win64_program name)
  get_target_property(interface_folders qmzentrel_idl INTERFACE_INCLUDE_DIRECTORIES)
  set(program ${CMAKE_CURRENT_BINARY_DIR}/${name}.exe)
  set(objects)
  foreach(source ${ARGN})
    get_filename_component(source ${source} ABSOLUTE)
    get_filename_component(stem ${source} NAME_WE)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir/${stem}.obj)
    add_custom_command(OUTPUT ${object}
      COMMAND ${QMZ_WIN64_CXX} -std=c++20 -O0 -Wall -Wextra -Wshadow -Werror -DUNICODE -D_UNICODE
        -I${CMAKE_SOURCE_DIR} -I${interface_folders}
        -isystem ${CMAKE_SOURCE_DIR}/cmake/googletest
        -isystem ${QMZ_GTEST_SOURCE}/googletest/include
        -MD -MF ${object}.d -c ${source} -o ${object}
      DEPENDS ${source} qmzentrel_idl
      DEPFILE ${object}.d
      VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir)
  add_custom_command(OUTPUT ${program}
    COMMAND ${QMZ_WIN64_CXX} -static -o ${program} ${objects} ${win64_gtest_objects}
      -lole32 -loleaut32 -luuid -ladvapi32 -luser32 -lpsapi -lws2_32
    DEPENDS ${objects} ${win64_gtest_objects}
    VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${program})
  set_target_properties(${name} PROPERTIES WIN64_PROGRAM ${program})
endfunction()

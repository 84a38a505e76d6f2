# GoogleTest from Debian's sources, built here with the compiler of the preset: there is no packaged
# build for 32-bit Windows, and one way for both sides is less to know.
set(QMZ_GTEST_SOURCE /usr/src/googletest CACHE PATH "Folder of GoogleTest's sources")
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(gtest_disable_pthreads ${WIN32} CACHE BOOL "" FORCE)
add_subdirectory(${QMZ_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(library gtest gtest_main)
  target_compile_options(${library} PRIVATE -O0 -g0)
  if(WIN32)
    target_include_directories(${library} BEFORE PUBLIC ${CMAKE_CURRENT_LIST_DIR}/googletest)
  endif()
endforeach()

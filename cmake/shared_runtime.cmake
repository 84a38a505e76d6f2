# qmzentrel_use_shared_runtime(PROGRAM): links the program with the compiler's shared run-time
# libraries, as a client may be, and puts those beside it.
function(qmzentrel_use_shared_runtime program)
  target_link_options(${program} PRIVATE -shared-libgcc)
  foreach(runtime libgcc_s_dw2-1.dll libstdc++-6.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    add_custom_command(TARGET ${program} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E copy_if_different ${path} ${CMAKE_CURRENT_BINARY_DIR}
      VERBATIM)
  endforeach()
endfunction()

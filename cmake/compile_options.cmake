set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
option(QMZ_SANITIZE "Address and undefined-behaviour sanitizers" OFF)
option(QMZ_FUZZ "Count what is executed, for the fuzzers to go by" OFF)

# Everything of ours takes its flags from this one target; foreign code (GoogleTest) does not.
add_library(qmzentrel_options INTERFACE)
target_include_directories(qmzentrel_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(qmzentrel_options INTERFACE
  -Wall -Wextra $<$<COMPILE_LANGUAGE:CXX>:-Wconversion;-Wshadow> -Werror)

if(WIN32)
  # SSE2 arithmetic: in x87 registers a freshly computed Single differs from the stored one.
  # Non-call exceptions: a processor exception leaves a statement as an ordinary error does.
  # No cold parts: the cold part of a function that never returns can be empty, and an empty entry of
  # the unwind table hides the one of the next function. A fault there would end the program.
  # Realigned stack: Windows promises 4-byte alignment at every entry, the compiler assumes 16.
  target_compile_options(qmzentrel_options INTERFACE
    -msse2 -mfpmath=sse -fnon-call-exceptions -fasynchronous-unwind-tables
    -fno-reorder-blocks-and-partition -mstackrealign
    -ffunction-sections -fdata-sections)
  target_compile_definitions(qmzentrel_options INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE _WIN32_WINNT=0x0601)
  # Nothing that a client would have to install beside the DLL; and the same sources make the same
  # file, whenever they are linked.
  target_link_options(qmzentrel_options INTERFACE -static -Wl,--no-insert-timestamp)
else()
  target_compile_options(qmzentrel_options INTERFACE -fnon-call-exceptions)
  if(QMZ_SANITIZE)
    target_compile_options(qmzentrel_options INTERFACE
      -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qmzentrel_options INTERFACE -fsanitize=address,undefined)
  endif()
  # Without sanitizers speed is what counts: the values that are compared are not told, and tests are
  # not counted at all.
  if(QMZ_FUZZ AND QMZ_SANITIZE)
    target_compile_options(qmzentrel_options INTERFACE -fsanitize=fuzzer-no-link)
  elseif(QMZ_FUZZ)
    target_compile_options(qmzentrel_options INTERFACE
      -fsanitize-coverage=inline-8bit-counters,pc-table
      -fsanitize-coverage-ignorelist=${CMAKE_SOURCE_DIR}/cmake/not_counted)
  endif()
endif()

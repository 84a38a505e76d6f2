# The type library and the C++ header from one description. widl makes both; what its language
# cannot say is set afterwards by tlb_post. The result depends on nothing but the sources: no time,
# no folder.
#
#   qmzentrel_tlb   makes QmZentrel.tlb and QmZentrel_h.h in interface/ of the build tree
#   qmzentrel_idl   gives C++ code and resource scripts the folder of both

find_program(QMZ_WIDL NAMES i686-w64-mingw32-widl REQUIRED NO_CMAKE_FIND_ROOT_PATH
  DOC "Compiler for interface descriptions, of mingw-w64-tools")

# tlb_post runs on the build machine: a cross build compiles it with the native compiler, so that it
# needs no native build beside it.
if(CMAKE_CROSSCOMPILING)
  find_program(QMZ_NATIVE_CXX NAMES g++ c++ REQUIRED NO_CMAKE_FIND_ROOT_PATH
    DOC "Compiler for tools that run on the build machine")
  set(tlb_post ${CMAKE_CURRENT_BINARY_DIR}/tlb_post)
  set(tlb_post_sources msft_edit.cpp msft_file.cpp tlb_post.cpp)
  set(tlb_post_headers msft_edit.h msft_file.h)
  list(TRANSFORM tlb_post_sources PREPEND ${CMAKE_SOURCE_DIR}/tools/type_library/)
  list(TRANSFORM tlb_post_headers PREPEND ${CMAKE_SOURCE_DIR}/tools/type_library/)
  add_custom_command(OUTPUT ${tlb_post}
    COMMAND ${QMZ_NATIVE_CXX} -std=c++20 -O1 -I${CMAKE_SOURCE_DIR} ${tlb_post_sources}
      -o ${tlb_post}
    DEPENDS ${tlb_post_sources} ${tlb_post_headers}
    VERBATIM)
else()
  set(tlb_post $<TARGET_FILE:tlb_post>)
endif()

# One run makes one output: with several, widl ignores the name given for it.
function(qmzentrel_widl option output source)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E env WIDL_TIME_OVERRIDE=0 TZ=UTC
      ${QMZ_WIDL} -m32 ${option} -I widl -L ${CMAKE_CURRENT_BINARY_DIR}/compiled
      -o ${output} ${source}
    DEPENDS ${source} widl/oaidl.idl ${ARGN}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    VERBATIM)
endfunction()

function(qmzentrel_type_library)
  set(compiled ${CMAKE_CURRENT_BINARY_DIR}/compiled)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/QmZentrel.tlb)
  set(header ${CMAKE_CURRENT_BINARY_DIR}/QmZentrel_h.h)
  set(order_of_types
    _Zentrel Zentrel Zentrel___v0 Zentrel___v1 Zentrel___v2 __Zentrel
    MIF_Masks TELIC2_ElectricFlags TELIC2_Commands ZentrelStatus)
  file(MAKE_DIRECTORY ${compiled})

  qmzentrel_widl(-t ${compiled}/stdole2.tlb widl/stdole2.idl)
  qmzentrel_widl(-t ${compiled}/QmZentrel.tlb QmZentrel.idl ${compiled}/stdole2.tlb)
  qmzentrel_widl(-h ${header} QmZentrel.idl ${compiled}/stdole2.tlb)

  list(JOIN order_of_types "," order)
  # The flags of the events: hidden, non-extensible, dispatchable.
  add_custom_command(OUTPUT ${library}
    COMMAND ${tlb_post} ${compiled}/QmZentrel.tlb ${library}
      order=${order}
      version:__Zentrel=1.3
      flags:__Zentrel=0x1090
      version:MIF_Masks=1.0
      version:TELIC2_ElectricFlags=1.0
      version:TELIC2_Commands=1.0
      version:ZentrelStatus=1.0
      enumeration-help
      library-help-context
      member-capacities
      no-custom-data
    DEPENDS ${tlb_post} ${compiled}/QmZentrel.tlb
    VERBATIM)

  add_custom_target(qmzentrel_tlb DEPENDS ${library} ${header})
  add_library(qmzentrel_idl INTERFACE)
  target_include_directories(qmzentrel_idl INTERFACE ${CMAKE_CURRENT_BINARY_DIR})
  add_dependencies(qmzentrel_idl qmzentrel_tlb)
endfunction()

qmzentrel_type_library()

if(WIN32)
  # The identifiers that the header declares.
  add_library(qmzentrel_guids STATIC guids.cpp)
  target_link_libraries(qmzentrel_guids PUBLIC qmzentrel_idl PRIVATE qmzentrel_options)
endif()

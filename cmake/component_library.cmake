# qmzentrel_component_library(NAME SOURCES...): a DLL as the component is one, with its exception
# handling. The component itself is linked by this, and so is whatever stands for it in a test.
function(qmzentrel_component_library name)
  # External objects come before a target's own ones on the link line, whatever the order in which
  # its sources are named, and among each other in that order. So what must stand before every other
  # frame description is such an object, and the first.
  if(NOT TARGET qmzentrel_unwind_frames_begin)
    add_library(qmzentrel_unwind_frames_begin OBJECT
      ${CMAKE_SOURCE_DIR}/com/unwind_frames_begin.S)
  endif()
  add_library(${name} MODULE $<TARGET_OBJECTS:qmzentrel_unwind_frames_begin>
    ${CMAKE_SOURCE_DIR}/com/unwind_registration.cpp
    ${CMAKE_SOURCE_DIR}/com/terminate_handler.cpp
    ${ARGN})
  # Its procedures have exception handlers of their own: an image that promises none is not asked.
  # Newer linkers set the last two by default, older ones do not (tools/check_hardening looks).
  target_link_options(${name} PRIVATE
    -Wl,--gc-sections -Wl,--enable-stdcall-fixup -Wl,--disable-no-seh
    -Wl,--dynamicbase -Wl,--nxcompat)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll")
endfunction()

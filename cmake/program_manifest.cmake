if(WIN32)
  enable_language(RC)
endif()

# qmzentrel_program_manifest(TARGET): what a program of a release says of itself to Windows.
function(qmzentrel_program_manifest target)
  set(resource ${CMAKE_SOURCE_DIR}/packaging/program.rc)
  target_sources(${target} PRIVATE ${resource})
  set_property(SOURCE ${resource} TARGET_DIRECTORY ${target} APPEND PROPERTY
    OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/packaging/program.manifest)
endfunction()

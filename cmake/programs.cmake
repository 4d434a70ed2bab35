# The programs stand beside the library at the top of the build folder, and are installed when they are built.
foreach(program utmctl utm-gateway)
  if(TARGET ${program})
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    install(TARGETS ${program} COMPONENT ${program})
  endif()
endforeach()

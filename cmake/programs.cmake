# The programs stand beside the library at the top of the build folder, and are installed when they are built.
foreach(program utmctl utm-gateway)
  if(TARGET ${program})
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    install(TARGETS ${program} COMPONENT ${program})
  endif()
endforeach()

# Debian's zsh looks for what packages bring in vendor-completions instead.
set(KQUTM_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
    CACHE STRING "Where zsh finds completions, below the prefix")
if(TARGET utmctl)
  install(
    FILES tools/utmctl/completions/utmctl.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME utmctl
    COMPONENT utmctl)
  install(
    FILES tools/utmctl/completions/_utmctl
    DESTINATION ${KQUTM_ZSH_COMPLETIONS}
    COMPONENT utmctl)
endif()

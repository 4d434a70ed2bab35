# What `cmake --install` puts in place: headers, libraries, and what pkg-config and find_package(kqutm) read. The install
# components are the packages: the library that programs run with, and what they are built with.
include(CMakePackageConfigHelpers)

# Never a multiarch folder: /usr/lib/libkqutm.so is the key file.
set(KQUTM_INSTALL_LIBDIR lib CACHE STRING "Where the libraries are installed, below the prefix")
set(package_folder ${KQUTM_INSTALL_LIBDIR}/cmake/kqutm)

install(
  DIRECTORY include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT libkqutm-dev)
install(
  TARGETS kqutm kqutm_static
  EXPORT kqutm
  LIBRARY DESTINATION ${KQUTM_INSTALL_LIBDIR} COMPONENT libkqutm1
  ARCHIVE DESTINATION ${KQUTM_INSTALL_LIBDIR} COMPONENT libkqutm-dev
  INCLUDES
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(
  FILES ${CMAKE_BINARY_DIR}/libkqutm.so.1
  DESTINATION ${KQUTM_INSTALL_LIBDIR}
  COMPONENT libkqutm1)

install(
  EXPORT kqutm
  NAMESPACE kqutm::
  FILE kqutm-config.cmake
  DESTINATION ${package_folder}
  COMPONENT libkqutm-dev)
write_basic_package_version_file(kqutm-config-version.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/kqutm-config-version.cmake
  DESTINATION ${package_folder}
  COMPONENT libkqutm-dev)

file(RELATIVE_PATH prefix_from_pc /${KQUTM_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/kqutm.pc.in kqutm.pc @ONLY)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/kqutm.pc
  DESTINATION ${KQUTM_INSTALL_LIBDIR}/pkgconfig
  COMPONENT libkqutm-dev)

# The Debian packages, one for each install component of the same name: `cpack` in a build folder with KQUTM_PACKAGES.

set(KQUTM_PACKAGE_REVISION 1 CACHE STRING "The revision of the packages of one version")
set(KQUTM_MAINTAINER "kqutm maintainers <maintainers@users.noreply.github.com>" CACHE STRING
    "Who answers for the packages: name and mail address")
set(packages libkqutm1 libkqutm-dev utmctl utm-gateway)
set(package_version ${PROJECT_VERSION}-${KQUTM_PACKAGE_REVISION})
set(packaging ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian)

find_program(GZIP gzip REQUIRED)

# packed(FROM TO): compresses a text as Debian wants it, which leaves out name and time.
function(packed from to)
  execute_process(COMMAND ${GZIP} -9nc ${from} OUTPUT_FILE ${CMAKE_BINARY_DIR}/${to} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${packaging}/changelog.in changelog.Debian @ONLY)
packed(${CMAKE_BINARY_DIR}/changelog.Debian changelog.Debian.gz)
packed(${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md changelog.gz)

foreach(package IN LISTS packages)
  install(
    FILES ${packaging}/copyright ${CMAKE_BINARY_DIR}/changelog.gz ${CMAKE_BINARY_DIR}/changelog.Debian.gz
    DESTINATION share/doc/${package}
    COMPONENT ${package})
  if(EXISTS ${packaging}/${package}.lintian-overrides)
    install(
      FILES ${packaging}/${package}.lintian-overrides
      DESTINATION share/lintian/overrides
      RENAME ${package}
      COMPONENT ${package})
  endif()
endforeach()
install(
  FILES packaging/systemd/kqutm.conf
  DESTINATION lib/tmpfiles.d
  COMPONENT libkqutm1)
install(
  FILES packaging/systemd/utm-registry.service
  DESTINATION lib/systemd/system
  COMPONENT utmctl)

# package_is(PACKAGE FIELD VALUE...): fields of its control file, by the names that CPack has for them.
macro(package_is package)
  string(TOUPPER ${package} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(fields ${ARGN})
  while(fields)
    list(POP_FRONT fields field value)
    set(CPACK_DEBIAN_${upper}_${field} "${value}")
  endwhile()
endmacro()

# cmake-format: off
package_is(libkqutm1
  PACKAGE_SECTION libs
  DESCRIPTION "client library for a home gateway's security services
Programs on a Linux home gateway link it to drive the gateway's security
daemons: user profiles, content filter, application control, intrusion
prevention, device identification, anti-virus and the IR threat database.

The file /usr/lib/libkqutm.so makes the keys of the shared memory, so it
belongs to this package.")
package_is(libkqutm-dev
  PACKAGE_SECTION libdevel
  PACKAGE_DEPENDS "libkqutm1 (= ${package_version})"
  DESCRIPTION "client library for a home gateway's services (development files)
Headers for C99 and C++, the static library, and what pkg-config and CMake
read, for programs and daemons that are built with the UTM client library.")
package_is(utmctl
  PACKAGE_SECTION admin
  PACKAGE_DEPENDS "libkqutm1 (>= ${PROJECT_VERSION})"
  DESCRIPTION "control a home gateway's security services from the command line
Every operation of the UTM client library as a command, with text for people
and JSON for scripts, and with the cause of each failure.")
package_is(utm-gateway
  PACKAGE_SECTION devel
  PACKAGE_DEPENDS "libkqutm1 (>= ${PROJECT_VERSION})"
  PACKAGE_SUGGESTS "libkqutm-dev, utmctl"
  DESCRIPTION "simulated home gateway with its security daemons
Runs a command on a whole gateway of its own, in private namespaces: all seven
daemons at their real paths, with scripted faults and a trace of every record.
For those who write and test programs with the UTM client library.")
# cmake-format: on
set(CPACK_DEBIAN_LIBKQUTM1_PACKAGE_CONTROL_EXTRA ${packaging}/postinst ${packaging}/postrm ${packaging}/triggers)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_COMPONENTS_ALL ${packages})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${KQUTM_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KQUTM_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/pack_manuals.cmake)
include(CPack)

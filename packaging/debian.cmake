# SPDX-License-Identifier: MIT
# One Debian package per component; `cpack` in the build folder writes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME l2vpn-db)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL l2vpn_db l2vpn_platform development tools)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "libl2vpn_db maintainers <maintainers@users.noreply.example>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
else()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
endif()

# Debian's changelog, with the date of CHANGELOG.md's newest version.
execute_process(
  COMMAND date --utc --date ${L2VPN_RELEASE_DATE} +%a,\ %d\ %b\ %Y\ %T\ +0000
  OUTPUT_VARIABLE release_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(changelog.in changelog @ONLY)
execute_process(COMMAND gzip --best --no-name --force --keep changelog
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} COMMAND_ERROR_IS_FATAL ANY)

function(package component name section description)
  string(TOUPPER ${component} upper)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION share/doc/${name} COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    DESTINATION share/doc/${name} COMPONENT ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION ${description} PARENT_SCOPE)
  # The ldconfig trigger, and the shlibs file for the dependencies of packages built with the library.
  if(section STREQUAL "libs")
    string(REGEX REPLACE "^lib(.*)0$" "\\1" library ${name})
    string(REPLACE "-" "_" library ${library})
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}/triggers "activate-noawait ldconfig\n")
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}/shlibs
      "lib${library} 0 ${name} (>= ${PROJECT_VERSION})\n")
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA
      "${CMAKE_CURRENT_BINARY_DIR}/${name}/triggers;${CMAKE_CURRENT_BINARY_DIR}/${name}/shlibs"
      PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "libc6 (>= 2.36)" PARENT_SCOPE)
  endif()
endfunction()

package(l2vpn_db libl2vpn-db0 libs
"The library. For every table: write, read, delete, partial update, iteration
and counts, a generic interface, a schema descriptor and formatting.
It requires a platform, which stores the tables.")
package(l2vpn_platform libl2vpn-platform0 libs
"The embedded platform: a thread-safe in-memory table store and the other
functions that libl2vpn_db imports.")
package(development libl2vpn-db-dev libdevel
"Headers, link files, manual page and examples for programs that use
libl2vpn_db.")
set(CPACK_DEBIAN_L2VPN_DB_PACKAGE_SUGGESTS libl2vpn-platform0)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libl2vpn-db0 (= ${PROJECT_VERSION}), libl2vpn-platform0 (= ${PROJECT_VERSION})")
package(tools l2vpn-db utils
"The tool l2vpn-db, which shows and edits the contents of the tables, packs
and unpacks records and keys, and explains key lookups; with a shell.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "libc6 (>= 2.36), libgcc-s1 (>= 3.0), libstdc++6 (>= 12), libl2vpn-db0 (>= ${PROJECT_VERSION}), libl2vpn-platform0 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS libedit2)

include(CPack)

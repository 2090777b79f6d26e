# What `cmake --install` puts where, and the Debian packages that CPack makes of it: one package for each component.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(qzstr_headers include/qzstr.h include/qzstr_charset.h include/qzstr_runtime.h include/qzstr.hpp)
install(FILES ${qzstr_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(TARGETS qzstr EXPORT qzstrTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev)
install(TARGETS qzstr_static qzstr_runtime EXPORT qzstrTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)

set(qzstr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qzstr)
install(EXPORT qzstrTargets FILE qzstrConfig.cmake NAMESPACE qzstr:: DESTINATION ${qzstr_package_dir} COMPONENT dev)
write_basic_package_version_file(qzstrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qzstrConfigVersion.cmake DESTINATION ${qzstr_package_dir} COMPONENT dev)

# A distribution's prefix is searched anyway; below any other one, what is installed finds its parts from where it is.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(qzstr_pc_prefix /usr)
else()
  file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" qzstr_pc_prefix "\${pcfiledir}/${up}")
  file(RELATIVE_PATH qzstr_lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set(qzstr_tool_rpath "$ORIGIN/${qzstr_lib_from_bin}")
endif()

# The runtime's archive comes after the library that asks for it, so one file names both.
foreach(name qzstr qzstr-runtime)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

install(FILES LICENSE LICENSES/Unicode-3.0.txt LICENSES/OGDL-Taiwan-1.0.txt qzstr.spdx CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)

if(NOT QZSTR_TOOLS)
  return()
endif()

install(TARGETS qzconv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
set_target_properties(qzconv PROPERTIES INSTALL_RPATH "${qzstr_tool_rpath}")

# Manual pages come from the headers, the catalogue and the tool's own help.
find_program(GZIP gzip)
if(GZIP)
  set(qzstr_compress_man ${GZIP} -9nr ${CMAKE_CURRENT_BINARY_DIR}/man)
endif()
set(qzstr_man ${CMAKE_CURRENT_BINARY_DIR}/man)
add_custom_command(OUTPUT ${qzstr_man}/stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${qzstr_man}
  COMMAND mangen ${CMAKE_CURRENT_SOURCE_DIR}/include $<TARGET_FILE:qzconv> ${qzstr_man}
  COMMAND ${qzstr_compress_man}
  COMMAND ${CMAKE_COMMAND} -E touch ${qzstr_man}/stamp
  DEPENDS mangen qzconv include/qzstr.h include/qzstr_charset.h include/qzstr_runtime.h VERBATIM)
add_custom_target(man ALL DEPENDS ${qzstr_man}/stamp)
install(DIRECTORY ${qzstr_man}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tools)
install(DIRECTORY ${qzstr_man}/man3 ${qzstr_man}/man7 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT dev)

# A module is loaded by its path and linked by nobody, so it stays out of the directory of libraries.
set(qzstr_components lib dev tools)
if(TARGET qzsqlite)
  list(APPEND qzstr_components sqlite)
  install(TARGETS qzsqlite LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/sqlite3 COMPONENT sqlite)
  install(FILES docs/sqlite.md examples/migration.sql DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libsqlite3-mod-qzstr
    COMPONENT sqlite)
endif()

# ---- Debian packages: cmake --preset package && cmake --build --preset package && cpack --preset package

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qzstr)
set(CPACK_PACKAGE_VENDOR "The libqzstr maintainers")
set(QZSTR_MAINTAINER "The libqzstr maintainers <maintainers@libqzstr.example.org>" CACHE STRING "Who makes the packages")
set(CPACK_PACKAGE_CONTACT "${QZSTR_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_COMPONENTS_ALL ${qzstr_components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIB_PACKAGE_NAME libqzstr1)
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
# CPack would write maintainer scripts that call ldconfig, for which a trigger is the way now, when it looked at the
# library itself: what it would find out is said here instead.
execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE libc_version OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "glibc " "" libc_version "${libc_version}")
set(CPACK_DEBIAN_LIB_PACKAGE_DEPENDS "libc6 (>= ${libc_version})")
configure_file(packaging/debian/shlibs.in shlibs @ONLY)
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/triggers ${CMAKE_CURRENT_BINARY_DIR}/shlibs)
set(CPACK_COMPONENT_LIB_DESCRIPTION "character sets of a database server
Counts characters, finds their boundaries and positions, measures display
width, changes letter case, converts between any two of 35 database character
sets, and searches. No allocation, no state.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqzstr-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libqzstr1 (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_DEV_DESCRIPTION "character sets of a database server - development files
Headers for C and C++, the static library, the default runtime and the manual
pages of libqzstr.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qzstr-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libqzstr1 (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "character sets of a database server - command-line tool
qzconv converts, measures and examines text in the 35 database character sets
of libqzstr.")

set(CPACK_DEBIAN_SQLITE_PACKAGE_NAME libsqlite3-mod-qzstr)
set(CPACK_DEBIAN_SQLITE_PACKAGE_SECTION database)
set(CPACK_DEBIAN_SQLITE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SQLITE_PACKAGE_ENHANCES "sqlite3, libsqlite3-0")
set(CPACK_COMPONENT_SQLITE_DESCRIPTION "character sets of a database server - SQLite extension
Converts, measures, searches and examines text in 35 database character sets by
SQL functions over BLOB and TEXT, and scans tables for what would not survive
a move from one to another. Load it by its path:
${CMAKE_INSTALL_FULL_LIBDIR}/sqlite3/qzsqlite")

# Files that only a package has: they go in when a component is installed by name, as CPack does.
if(GZIP)
  configure_file(packaging/debian/changelog.in changelog.Debian @ONLY)
  set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
  add_custom_command(OUTPUT ${changelog}.gz COMMAND ${GZIP} -9nc ${changelog} > ${changelog}.gz DEPENDS ${changelog})
  add_custom_target(changelog ALL DEPENDS ${changelog}.gz)
  foreach(component ${qzstr_components})
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES packaging/debian/copyright ${changelog}.gz COMPONENT ${component} EXCLUDE_FROM_ALL
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package})
    # They are not uploads to Debian.
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/overrides/${package} "${package}: initial-upload-closes-no-bugs\n")
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/overrides/${package} COMPONENT ${component} EXCLUDE_FROM_ALL
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)
  endforeach()
endif()
include(CPack)

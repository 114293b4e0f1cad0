# `cpack --preset release` makes a Debian package of what Install.cmake installs.
#
# One package, not a library, a -dev and a program of their own: whoever has the file has everything, and
# program, library and headers can't be of different versions.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME karta-import)
set(CPACK_PACKAGE_CONTACT "KARTA import developers <karta-import@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "read measurement and table files into one table")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${CMAKE_SOURCE_DIR}/cmake/debian/description)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)

# The changelog's first line has the package's version: ours, and how often it was packaged.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/debian/changelog)
file(STRINGS ${CMAKE_SOURCE_DIR}/cmake/debian/changelog first_line LIMIT_COUNT 1)
if(NOT first_line MATCHES "^karta-import \\(([0-9.]+)-([0-9]+)\\) " OR
   NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "cmake/debian/changelog doesn't begin with version ${PROJECT_VERSION}")
endif()
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Nothing links the libraries that are loaded when a file needs them: the packages that have them are named.
set(lazy_packages "")
foreach(library ${GSF_FILE} ${LIBZIP_FILE} ${NETCDF_FILE})
  file(REAL_PATH ${library} library)
  execute_process(COMMAND dpkg-query --search ${library} OUTPUT_VARIABLE owner ERROR_QUIET)
  if(owner MATCHES "^([^:]*):")
    list(APPEND lazy_packages ${CMAKE_MATCH_1})
  endif()
endforeach()
list(JOIN lazy_packages ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/cmake/debian/triggers)
# What it takes to write programs and plug-ins. One header, text/CsvFile.h, is in terms of Boost.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, pkg-config, libboost-dev")

set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/DebianFiles.cmake)
include(CPack)

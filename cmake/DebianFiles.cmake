# Run by CPack on the installed tree before it becomes a package: what Debian wants beyond an install.
find_program(SHLIBDEPS dpkg-shlibdeps)
if(NOT SHLIBDEPS)
  message(FATAL_ERROR "dpkg-shlibdeps is needed, or the package would name no dependencies: "
                      "apt-get install dpkg-dev")
endif()

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(source ${CMAKE_CURRENT_LIST_DIR}/..)
set(doc ${root}/usr/share/doc/karta-import)
file(MAKE_DIRECTORY ${doc})
file(COPY_FILE ${source}/CHANGELOG.md ${doc}/changelog)
file(COPY_FILE ${source}/cmake/debian/changelog ${doc}/changelog.Debian)
file(COPY_FILE ${source}/cmake/debian/copyright ${doc}/copyright)
file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
file(COPY_FILE ${source}/cmake/debian/lintian-overrides ${root}/usr/share/lintian/overrides/karta-import)

# Without name and time, so that the same tree gives the same bytes.
execute_process(COMMAND gzip -9n ${doc}/changelog ${doc}/changelog.Debian
                        ${root}/usr/share/man/man1/karta-import.1
                COMMAND_ERROR_IS_FATAL ANY)

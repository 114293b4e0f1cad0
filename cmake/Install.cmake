# Where Debian would put things: program, library, headers, package files, man page, documents.
set(KARTA_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/karta-import)

install(TARGETS karta-import EXPORT KartaImportTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${KARTA_INCLUDE_DIR})
install(TARGETS karta-import-xml LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${KARTA_MODULE_FOLDER})
install(TARGETS karta-import-program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The installed program finds the library where the two were put, also under a prefix of one's own.
file(RELATIVE_PATH KARTA_LIBRARY_FROM_BIN /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
# The build tree's program and library carry the same path: to change it while installing, CMake would pad the shorter
# one with empty entries, and these mean the current folder. Libraries under a prefix of one's own are found there.
set_target_properties(karta-import-program karta-import PROPERTIES BUILD_WITH_INSTALL_RPATH ON
                      INSTALL_RPATH_USE_LINK_PATH ON)
set_target_properties(karta-import-program PROPERTIES INSTALL_RPATH "$ORIGIN/${KARTA_LIBRARY_FROM_BIN}:$ORIGIN")

include(cmake/PublicHeaders.cmake)
karta_public_headers(headers base archive host frame table text spreadsheet instrument process container)
karta_public_headers(own_headers karta)
# What stands behind the one-call interface is for the program alone.
list(FILTER own_headers EXCLUDE REGEX "^karta/internal/")
list(APPEND headers ${own_headers})
list(REMOVE_DUPLICATES headers)
list(APPEND headers text/CsvSyntax.h) # for hosts that parse on their own; a template exports nothing
foreach(header ${headers})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${KARTA_INCLUDE_DIR}/${folder})
endforeach()

export(EXPORT KartaImportTargets FILE ${CMAKE_BINARY_DIR}/KartaImportTargets.cmake NAMESPACE KartaImport::)
install(EXPORT KartaImportTargets NAMESPACE KartaImport::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KartaImport)
configure_package_config_file(cmake/KartaImportConfig.cmake.in ${CMAKE_BINARY_DIR}/KartaImportConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KartaImport)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KartaImportConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KartaImportConfig.cmake ${CMAKE_BINARY_DIR}/KartaImportConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KartaImport)

# The package file finds its prefix from its own place.
file(RELATIVE_PATH KARTA_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/karta-import.pc.in ${CMAKE_BINARY_DIR}/karta-import.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/karta-import.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(docs/karta-import.1.in ${CMAKE_BINARY_DIR}/karta-import.1 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/karta-import.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# Where the shells look for them.
install(FILES tools/completion/karta-import.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME karta-import)
install(FILES tools/completion/_karta-import DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES tools/completion/karta-import.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# The pages that the man page leaves the details to, laid out so that the links between them hold.
set(KARTA_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/karta-import)
install(FILES README.md DESTINATION ${KARTA_DOC_DIR})
install(DIRECTORY docs DESTINATION ${KARTA_DOC_DIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY samples/plugin DESTINATION ${KARTA_DOC_DIR}/samples)

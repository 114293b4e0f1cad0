# The libraries that the readers call, each under one interface target.
find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS iostreams)
find_package(XercesC REQUIRED)
pkg_check_modules(LIBZIP REQUIRED libzip)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0) # which libgsf stands on
pkg_check_modules(GSF REQUIRED libgsf-1)
pkg_check_modules(NETCDF REQUIRED netcdf)
pkg_check_modules(SODIUM REQUIRED IMPORTED_TARGET libsodium)

add_library(karta_dependencies INTERFACE)
target_link_libraries(karta_dependencies INTERFACE ZLIB::ZLIB Boost::iostreams
                      PkgConfig::SODIUM PkgConfig::GLIB
                      ${CMAKE_DL_LIBS})

# Unpacks three times as fast as zlib, where it is to be had; what it gives up on goes to zlib.
find_library(ISAL_LIBRARY isal)
find_path(ISAL_INCLUDE_DIR isa-l/igzip_lib.h)
if(ISAL_LIBRARY AND ISAL_INCLUDE_DIR)
  target_link_libraries(karta_dependencies INTERFACE ${ISAL_LIBRARY})
  target_compile_definitions(karta_dependencies INTERFACE KARTA_HAS_ISAL)
endif()

# Libraries that are loaded when a file needs them: their headers, and the names that the loader knows them by. In a
# wheel that is a module beside the one that loads it, which stands on the library (python/CMakeLists.txt).
find_program(READELF readelf REQUIRED)
function(karta_lazy_library name)
  find_library(${name}_FILE NAMES ${${name}_LIBRARIES} PATHS ${${name}_LIBRARY_DIRS} REQUIRED)
  execute_process(COMMAND ${READELF} -d ${${name}_FILE} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
  if(NOT dynamic MATCHES "SONAME[^[]*\\[([^]]*)\\]")
    message(FATAL_ERROR "${${name}_FILE} has no name for the loader")
  endif()
  set(loaded "${CMAKE_MATCH_1}")
  if(KARTA_WHEEL AND NOT ${name} STREQUAL GSF)
    string(TOLOWER _${name} module)
    set(loaded "$ORIGIN/${module}.so")
  endif()
  target_compile_definitions(karta_dependencies INTERFACE KARTA_${name}_LIBRARY="${loaded}")
  target_include_directories(karta_dependencies SYSTEM INTERFACE ${${name}_INCLUDE_DIRS})
endfunction()
karta_lazy_library(GSF)
karta_lazy_library(LIBZIP)
karta_lazy_library(NETCDF)

# The libraries that the readers call, each under one interface target.
find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS iostreams)
find_package(XercesC REQUIRED)
pkg_check_modules(LIBZIP REQUIRED IMPORTED_TARGET libzip)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0) # which libgsf stands on
pkg_check_modules(LIBGSF REQUIRED IMPORTED_TARGET libgsf-1)
pkg_check_modules(NETCDF REQUIRED IMPORTED_TARGET netcdf)
pkg_check_modules(SODIUM REQUIRED IMPORTED_TARGET libsodium)

add_library(karta_dependencies INTERFACE)
target_link_libraries(karta_dependencies INTERFACE ZLIB::ZLIB Boost::iostreams XercesC::XercesC
                      PkgConfig::LIBZIP PkgConfig::LIBGSF PkgConfig::NETCDF PkgConfig::SODIUM
                      ${CMAKE_DL_LIBS})

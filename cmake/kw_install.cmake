# `cmake --install` lays out a CMake package:
#   lib/libkwcommon.so, lib/libkwhost.so, lib/libkwrdpub.so, bin/rdpub, bin/kwtracelogo
#   include/kwrdpub/kwrdpub.h       the whole public API (includes the folders below)
#   include/kwrdpub/<folder>/*.h    the library's and the host API's headers
#   include/kwhost/embedded.h       the embedded host's controls, for tests and tools
#   lib/cmake/kwrdpub/              kwrdpubConfig.cmake with kwrdpub::kwrdpub, kwrdpub::kwhost
set(kw_pkgdir ${CMAKE_INSTALL_LIBDIR}/cmake/kwrdpub)

install(TARGETS kwcommon kwhost kwrdpub EXPORT kwrdpubTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(tool rdpub kwtracelogo)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()

foreach(dir app msg persist services editor styles common host/api)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kwrdpub/${dir}
          FILES_MATCHING PATTERN "*.h" PATTERN "internal" EXCLUDE)
endforeach()
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

install(EXPORT kwrdpubTargets NAMESPACE kwrdpub:: DESTINATION ${kw_pkgdir})
include(CMakePackageConfigHelpers)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/kwrdpubConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/kwrdpubConfig.cmake INSTALL_DESTINATION ${kw_pkgdir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kwrdpubConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kwrdpubConfig.cmake ${CMAKE_BINARY_DIR}/kwrdpubConfigVersion.cmake
        DESTINATION ${kw_pkgdir})

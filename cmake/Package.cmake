# What lets other projects find an installed vantel: find_package(vantel) with the target
# vantel::vantel, and pkg-config.
include(CMakePackageConfigHelpers)

add_library(vantel::vantel ALIAS vantel)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/vantel)
configure_package_config_file(cmake/vantelConfig.cmake.in vantelConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(vantelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vantelConfig.cmake
              ${PROJECT_BINARY_DIR}/vantelConfigVersion.cmake
        DESTINATION ${package_folder})
install(EXPORT vantelTargets NAMESPACE vantel:: DESTINATION ${package_folder})

# Relative to the file's own place, so that an installation can be moved.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
configure_file(cmake/vantel.pc.in vantel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
    include(cmake/WindowsPackage.cmake)
endif()

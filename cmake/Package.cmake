# What lets other projects find an installed vantel: find_package(vantel) with the targets
# vantel::vantel, vantel::quillon and vantel::ostrel, and pkg-config with vantel, vantel-quillon and
# vantel-ostrel. The contracts of the latter two are included as <contracts/quillon.h> and
# <contracts/ostrel.h>.
include(CMakePackageConfigHelpers)

foreach(library vantel quillon ostrel)
    add_library(vantel::${library} ALIAS ${library})
endforeach()

install(DIRECTORY contracts/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantel/contracts
        FILES_MATCHING PATTERN *.h)
foreach(library quillon ostrel)
    target_include_directories(${library} INTERFACE
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vantel>)
endforeach()

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
function(install_pkg_config name library description include_folder)
    configure_file(cmake/vantel.pc.in ${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
install_pkg_config(vantel vantel "${PROJECT_DESCRIPTION}" "")
install_pkg_config(vantel-quillon quillon "Message bus of vantel" /vantel)
install_pkg_config(vantel-ostrel ostrel "Speech engine of vantel" /vantel)

if(WIN32)
    include(cmake/WindowsPackage.cmake)
endif()

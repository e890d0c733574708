find_package(PkgConfig REQUIRED)

# system_dependency(name modules...): an interface library over what pkg-config knows.
function(system_dependency name)
    pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${ARGN})
    add_library(${name}_dependency INTERFACE)
    target_link_libraries(${name}_dependency INTERFACE PkgConfig::${name})
endfunction()

system_dependency(cjson libcjson)
system_dependency(pocketsphinx pocketsphinx sphinxbase)
if(VANTEL_TESTS)
    find_package(GTest REQUIRED)
endif()

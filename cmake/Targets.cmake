# What every target of the project shares: include root, warnings, sanitizers, export lists.

add_library(vantel_options INTERFACE)
target_include_directories(vantel_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(vantel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # These releases see overlapping copies in optimised joins of texts where there are none.
    target_compile_options(vantel_options INTERFACE -Wno-restrict)
endif()
if(VANTEL_SANITIZE)
    target_compile_options(vantel_options INTERFACE -fsanitize=${VANTEL_SANITIZE}
                           -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vantel_options INTERFACE -fsanitize=${VANTEL_SANITIZE})
endif()
if(VANTEL_FUZZ)
    target_compile_options(vantel_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(MINGW)
    # printf of the C99 kind, so that %lu, %lf and %zu mean the same on both systems.
    target_compile_definitions(vantel_options INTERFACE __USE_MINGW_ANSI_STDIO=1 UNICODE _UNICODE)
endif()

# vantel_library_name(name): one file name for each system, libvantel.so.1 or vantel.dll.
function(vantel_library_name name)
    if(WIN32)
        set_target_properties(${name} PROPERTIES PREFIX "" VERSION "" SOVERSION "")
    else()
        set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION}
                              SOVERSION ${PROJECT_VERSION_MAJOR})
    endif()
endfunction()

# vantel_shared_library(name list): versions the shared library and limits what it exports to the
# functions of `list`, a file beside its sources with a name on each line. On Windows a function with
# a number, "name @7", is exported by that ordinal alone.
function(vantel_shared_library name list)
    vantel_library_name(${name})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
    file(STRINGS ${list} functions REGEX "^[A-Za-z]")
    if(WIN32)
        list(TRANSFORM functions REPLACE "@[0-9]+$" "\\0 NONAME")
        list(JOIN functions "\n    " functions)
        set(definition ${CMAKE_CURRENT_BINARY_DIR}/${name}.def)
        file(CONFIGURE OUTPUT ${definition} CONTENT "LIBRARY ${name}\nEXPORTS\n    ${functions}\n")
        target_sources(${name} PRIVATE ${definition})
    else()
        list(TRANSFORM functions REPLACE " @[0-9]+$" "")
        list(TRANSFORM functions APPEND "\\;")
        list(JOIN functions " " functions)
        set(map ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
        file(CONFIGURE OUTPUT ${map} CONTENT "{ global: ${functions} local: *; };\n")
        target_link_options(${name} PRIVATE -Wl,--version-script=${map} -Wl,--no-undefined)
        set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map} INSTALL_RPATH "$ORIGIN")
        # Sanitizer runtimes are resolved from the program, not from the library.
        if(VANTEL_SANITIZE)
            target_link_options(${name} PRIVATE -Wl,-z,undefs)
        endif()
    endif()
    install(TARGETS ${name} EXPORT vantelTargets
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

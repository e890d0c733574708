# Debian's source packages, fetched into the build folder and built static into our libraries.
set(third_party ${PROJECT_BINARY_DIR}/third_party)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/fetch-sources ${third_party}
                RESULT_VARIABLE fetched)
if(NOT fetched EQUAL 0)
    message(FATAL_ERROR "The third-party sources are not complete, see above.")
endif()

# Nothing of these is ours to mend: their warnings are not errors, and they install nothing.
set(warnings_as_errors ${CMAKE_COMPILE_WARNING_AS_ERROR})
set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)

# Without CJSON_HIDE_SYMBOLS its functions would be exported by every DLL that holds it.
add_library(cjson STATIC ${third_party}/cjson/cJSON.c)
target_compile_definitions(cjson PUBLIC CJSON_HIDE_SYMBOLS)
target_include_directories(cjson SYSTEM PUBLIC ${third_party}/cjson)
add_library(cjson_dependency INTERFACE)
target_link_libraries(cjson_dependency INTERFACE cjson)

add_subdirectory(cmake/third_party/sphinx ${third_party}/sphinx EXCLUDE_FROM_ALL)

if(VANTEL_TESTS)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest ${third_party}/googletest EXCLUDE_FROM_ALL)
endif()

set(CMAKE_COMPILE_WARNING_AS_ERROR ${warnings_as_errors})

# The third-party libraries that every build needs. Each part adds what it alone uses in its folder.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(CJSON REQUIRED IMPORTED_TARGET libcjson)
add_library(cjson_dependency INTERFACE)
target_link_libraries(cjson_dependency INTERFACE PkgConfig::CJSON)

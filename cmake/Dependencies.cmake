# The third-party libraries, under the same target names wherever they come from. A build for this
# system takes what is installed; a cross build makes them from source.
#
#   cjson_dependency         JSON
#   pocketsphinx_dependency  speech recognition
find_package(Threads REQUIRED)
if(CMAKE_CROSSCOMPILING)
    include(${CMAKE_CURRENT_LIST_DIR}/dependencies/FromSource.cmake)
else()
    include(${CMAKE_CURRENT_LIST_DIR}/dependencies/FromSystem.cmake)
endif()

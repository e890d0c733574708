# The third-party libraries, under the same target names wherever they come from. A build for this
# system takes what is installed; a cross build makes them from source.
#
#   cjson_dependency         JSON
#   pocketsphinx_dependency  speech recognition
#   flite_dependency         letter-to-sound rules; absent where the system lacks them
#   sndfile_dependency, samplerate_dependency, portaudio_dependency, cli11_dependency
#                            sound files, sample rates, sound devices and arguments of the tool
#
# `speech_models` is the folder of the acoustic models and dictionaries on the building system.
find_package(Threads REQUIRED)
if(CMAKE_CROSSCOMPILING)
    add_subdirectory(cmake/third_party EXCLUDE_FROM_ALL)
    set(speech_models /usr/share/pocketsphinx/model)
else()
    include(${CMAKE_CURRENT_LIST_DIR}/SystemDependencies.cmake)
endif()

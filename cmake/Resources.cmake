# What the engine reads at run time: models and the inference runtime. They are fetched into a folder
# that all build folders of a source tree share; the engine works without them, less well.
#
#   VANTEL_ONNX_RUNTIME  the runtime's file below a resource folder
#   VANTEL_VOSK_LIBRARY  the streaming recogniser's
set(VANTEL_CACHE ${PROJECT_SOURCE_DIR}/build/cache CACHE PATH "Folder of fetched models")
option(VANTEL_FETCH "Fetch the models that are missing" ON)
if(WIN32)
    set(onnx_system win32-x64)
    set(VANTEL_ONNX_RUNTIME ${onnx_system}/onnxruntime.dll)
    set(VANTEL_VOSK_LIBRARY ${onnx_system}/vosk/libvosk.dll)
    set(vosk_files libgcc_s_seh-1.dll libstdc++-6.dll libvosk.dll libwinpthread-1.dll)
    list(TRANSFORM vosk_files PREPEND ${VANTEL_CACHE}/share/${onnx_system}/vosk/)
else()
    set(onnx_system linux-x64)
    set(VANTEL_ONNX_RUNTIME ${onnx_system}/libonnxruntime.so.1)
    set(VANTEL_VOSK_LIBRARY ${onnx_system}/libvosk.so)
    set(vosk_files ${VANTEL_CACHE}/share/${VANTEL_VOSK_LIBRARY})
endif()
if(VANTEL_FETCH)
    execute_process(COMMAND ${CMAKE_COMMAND} -DCACHE=${VANTEL_CACHE} -DSYSTEM=${onnx_system}
                            -P ${CMAKE_CURRENT_LIST_DIR}/fetch_models.cmake)
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -DCACHE=${VANTEL_CACHE}
                        -P ${CMAKE_CURRENT_LIST_DIR}/make_pinyin.cmake)
configure_file(ostrel/data/mandarin_phones.txt ${VANTEL_CACHE}/share/mandarin/phones.txt COPYONLY)
# Libraries name no folder of the machine that built them: in the build, too, the files lie where an
# installation has them.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/vantel)
file(GLOB resources ${VANTEL_CACHE}/share/*)
foreach(resource IN LISTS resources)
    cmake_path(GET resource FILENAME name)
    file(CREATE_LINK ${resource} ${PROJECT_BINARY_DIR}/share/vantel/${name} SYMBOLIC)
endforeach()
install(DIRECTORY ${VANTEL_CACHE}/share/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vantel OPTIONAL
        PATTERN "*-x64" EXCLUDE
        # Nothing that came with this model says on which terms it may be passed on.
        PATTERN "streaming_en_us" EXCLUDE)
cmake_path(GET VANTEL_VOSK_LIBRARY PARENT_PATH vosk_folder)
install(FILES ${vosk_files} OPTIONAL DESTINATION ${CMAKE_INSTALL_DATADIR}/vantel/${vosk_folder})
install(FILES ${VANTEL_CACHE}/share/${VANTEL_ONNX_RUNTIME} OPTIONAL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/vantel/${onnx_system})

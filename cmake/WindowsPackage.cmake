# The zip that a Windows user unpacks: `cpack` in the build folder makes it.
install(FILES packaging/windows/QUICKSTART.md LICENSE DESTINATION .)
install(FILES packaging/windows/models.txt DESTINATION ${CMAKE_INSTALL_DATADIR}/vantel
        RENAME README.txt)
install(DIRECTORY examples DESTINATION .)

# The terms of what is built in.
set(terms cjson/LICENSE flite/COPYING libsamplerate/COPYING libsndfile/COPYING
          pocketsphinx/LICENSE portaudio19/LICENSE.txt sphinxbase/LICENSE)
foreach(file IN LISTS terms)
    cmake_path(GET file PARENT_PATH library)
    install(FILES ${PROJECT_BINARY_DIR}/third_party/${file} DESTINATION licenses
            RENAME ${library}.txt)
endforeach()
install(FILES /usr/share/doc/libcli11-dev/copyright DESTINATION licenses RENAME cli11.txt)
install(FILES /usr/share/doc/pocketsphinx-en-us/copyright DESTINATION licenses
        RENAME pocketsphinx-en-us.txt)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME vantel-${PROJECT_VERSION}-windows-x86_64)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)

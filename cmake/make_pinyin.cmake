# Makes the table of how Chinese characters are read, from the Unicode character database that
# Debian's unicode-data has. Says nothing when the table is there; without the package the engine
# goes without Chinese words, and that is said.
#
#   cmake -DCACHE=FOLDER [-DREADINGS=FILE.bz2] -P cmake/make_pinyin.cmake
#
# The table, CACHE/share/mandarin/pinyin.txt, has a line for each set of readings: the readings
# without tones, the most frequent first, separated by commas; then the characters that are read so,
# as hexadecimal numbers.
cmake_minimum_required(VERSION 3.25)
if(NOT CACHE)
    message(FATAL_ERROR "usage: cmake -DCACHE=FOLDER [-DREADINGS=FILE.bz2] -P make_pinyin.cmake")
endif()
if(NOT READINGS)
    set(READINGS /usr/share/unicode/Unihan_Readings.txt.bz2)
endif()
set(table "${CACHE}/share/mandarin/pinyin.txt")

file(MAKE_DIRECTORY "${CACHE}")
file(LOCK "${CACHE}/fetch.lock" TIMEOUT 900)
if(EXISTS "${table}")
    return()
endif()
find_program(bzip2 bzip2 NO_CACHE)
if(NOT EXISTS "${READINGS}" OR NOT bzip2)
    message(WARNING "no Chinese words: the packages unicode-data and bzip2 are needed for them")
    return()
endif()
execute_process(COMMAND "${bzip2}" -dc "${READINGS}" OUTPUT_FILE "${CACHE}/readings.txt"
                COMMAND_ERROR_IS_FATAL ANY)

# Readings by frequency, the customary ones, those of a table of common characters. The file has the
# fields of a character in this order.
file(STRINGS "${CACHE}/readings.txt" lines ENCODING UTF-8
     REGEX "^U.[0-9A-F]+\tk(HanyuPinlu|Mandarin|TGHZ2013)\t")
file(REMOVE "${CACHE}/readings.txt")

# Without what is no reading (places in a dictionary, frequencies) and without tones.
string(REGEX REPLACE "[0-9]+\\.[0-9]+(,[0-9]+\\.[0-9]+)*:" "" lines "${lines}")
string(REGEX REPLACE "\\([0-9]+\\)" "" lines "${lines}")
foreach(letter "ā=a" "á=a" "ǎ=a" "à=a" "ē=e" "é=e" "ě=e" "è=e" "ế=ê" "ề=ê" "ī=i" "í=i" "ǐ=i" "ì=i"
               "ō=o" "ó=o" "ǒ=o" "ò=o" "ū=u" "ú=u" "ǔ=u" "ù=u" "ǖ=ü" "ǘ=ü" "ǚ=ü" "ǜ=ü"
               "ń=n" "ň=n" "ǹ=n" "ḿ=m" "̀=" "̄=" "̌=")
    string(REPLACE "=" ";" letter "${letter}")
    list(GET letter 0 marked)
    list(GET letter 1 plain)
    string(REPLACE "${marked}" "${plain}" lines "${lines}")
endforeach()

# Closes the character that is being read.
macro(finish_character)
    if(character)
        list(JOIN readings "," key)
        list(APPEND keys "${key}")
        string(APPEND "of_${key}" " ${character}")
    endif()
endmacro()
set(keys "")
set(character "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^U.([0-9A-F]+)\t[A-Za-z0-9]+\t(.*)$" "\\1;\\2" fields "${line}")
    string(REPLACE " " ";" fields "${fields}")
    string(REPLACE "," ";" fields "${fields}")
    list(POP_FRONT fields code)
    if(NOT code STREQUAL character)
        finish_character()
        set(character "${code}")
        set(readings "")
    endif()
    list(APPEND readings ${fields})
    list(REMOVE_DUPLICATES readings)
endforeach()
finish_character()

list(REMOVE_DUPLICATES keys)
list(SORT keys)
set(content "# Readings of Chinese characters, from the Unicode character database\n")
foreach(key IN LISTS keys)
    string(APPEND content "${key}${of_${key}}\n")
endforeach()
get_filename_component(folder "${table}" DIRECTORY)
file(MAKE_DIRECTORY "${folder}")
file(WRITE "${table}.new" "${content}")
file(RENAME "${table}.new" "${table}")

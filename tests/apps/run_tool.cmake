# Runs the tool and compares its exit code and what it wrote.
execute_process(COMMAND ${tool} ${arguments} OUTPUT_VARIABLE written ERROR_VARIABLE written
                RESULT_VARIABLE result)
message("${written}")
if(NOT result STREQUAL code)
    message(FATAL_ERROR "exit code ${result}, not ${code}")
endif()
if(NOT written MATCHES "${matches}")
    message(FATAL_ERROR "nothing that matches ${matches}")
endif()

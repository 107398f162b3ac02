# Runs a command and judges how it ends and what it prints:
#   cmake -DEXIT=code [-DMATCH=regex] [-DEVERY_LINE=regex] -P expect.cmake -- command arguments...

set(command "")
set(behind_dashes FALSE)
foreach(i RANGE 1 ${CMAKE_ARGC})
    if(behind_dashes AND i LESS CMAKE_ARGC)
        list(APPEND command "${CMAKE_ARGV${i}}")
    elseif("${CMAKE_ARGV${i}}" STREQUAL "--")
        set(behind_dashes TRUE)
    endif()
endforeach()

execute_process(COMMAND ${command}
                RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE errors)
set(printed "exit code ${code}\n--- stdout\n${output}--- stderr\n${errors}")

if(NOT code STREQUAL EXIT)
    message(FATAL_ERROR "expected exit code ${EXIT}\n${printed}")
endif()
if(DEFINED MATCH AND NOT "${output}${errors}" MATCHES "${MATCH}")
    message(FATAL_ERROR "expected text \"${MATCH}\"\n${printed}")
endif()
if(DEFINED EVERY_LINE)
    # CMake's lists must not see what else the lines hold.
    string(REGEX REPLACE "[][;]" "?" lines "${output}")
    string(REGEX REPLACE "\n$" "" lines "${lines}")
    string(REPLACE "\n" ";" lines "${lines}")
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "${EVERY_LINE}")
            message(FATAL_ERROR "line \"${line}\" is not \"${EVERY_LINE}\"\n${printed}")
        endif()
    endforeach()
endif()

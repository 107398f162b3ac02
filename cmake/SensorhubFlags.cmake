# Flags for everything in this tree.

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(SENSORHUB_WERROR)
    add_compile_options(-Werror)
endif()
include_directories(${CMAKE_SOURCE_DIR})

if(SENSORHUB_SANITIZE)
    add_compile_options(-fsanitize=${SENSORHUB_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${SENSORHUB_SANITIZE})
    # The leak search takes a loaded library's block of thread-local variables for one of an older C
    # library when it lies 16 bytes behind a page's start, and ends with a signal.
    add_compile_options(-ftls-model=initial-exec)
endif()

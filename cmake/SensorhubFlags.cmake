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
endif()

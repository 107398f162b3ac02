# Flags for everything in this tree.

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(SENSORHUB_WERROR)
    add_compile_options(-Werror)
endif()
include_directories(${CMAKE_SOURCE_DIR})

if(SENSORHUB_SANITIZE)
    include(CheckCXXSourceCompiles)
    unset(sanitizers_work CACHE)  # their libraries may have come or gone
    set(CMAKE_REQUIRED_FLAGS -fsanitize=${SENSORHUB_SANITIZE})
    check_cxx_source_compiles("int main() {}" sanitizers_work)
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT sanitizers_work)
        message(FATAL_ERROR "SENSORHUB_SANITIZE=${SENSORHUB_SANITIZE}: the compiler cannot do that, "
                            "or lacks the library (clang: libclang-rt-14-dev)")
    endif()
    add_compile_options(-fsanitize=${SENSORHUB_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        # Interposed functions of the C library have another type than their declaration.
        add_compile_options(-fno-sanitize=function)
    endif()
    add_link_options(-fsanitize=${SENSORHUB_SANITIZE})
    # The leak search takes a loaded library's block of thread-local variables for one of an older C
    # library when it lies 16 bytes behind a page's start, and ends with a signal.
    add_compile_options(-ftls-model=initial-exec)
endif()

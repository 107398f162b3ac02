# The product's libraries: one static library per folder, all of them linked into the sub-HAL.

find_package(Threads REQUIRED)

# sensorhub_product_library(NAME SOURCES...)
function(sensorhub_product_library name)
    add_library(${name} STATIC ${ARGN})
    target_compile_options(${name} PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden
                                           -fno-exceptions -fstack-protector-strong)
    # Fortified calls need the optimiser, and get in a sanitizer's way.
    if(NOT SENSORHUB_SANITIZE)
        set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
        target_compile_options(${name} PRIVATE $<${optimised}:-U_FORTIFY_SOURCE>
                                               $<${optimised}:-D_FORTIFY_SOURCE=2>)
    endif()
    target_link_libraries(${name} PUBLIC platform Threads::Threads)
endfunction()

# What an installation on a PC contains, and the Debian package made of it. It brings the stand-ins, so a
# build on the distribution's platform packages has none.
if(SENSORHUB_PACKAGED_PLATFORM)
    return()
endif()

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# A folder of their own: the sub-HAL is a plug-in, and the stand-ins bear the names of other libraries'
# interfaces. Neither is to be found by a program that did not ask for it.
set(private_libdir ${CMAKE_INSTALL_LIBDIR}/sensorhub-subhal)
set(private_includedir ${CMAKE_INSTALL_INCLUDEDIR}/sensorhub-subhal)
set(package_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/sensorhub_simulator)

# installed_compressed(FILE FOLDER): installs FILE.gz, made without a time stamp.
function(installed_compressed file folder)
    get_filename_component(name ${file} NAME)
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/${name}.gz
        COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${file} > ${PROJECT_BINARY_DIR}/${name}.gz
        DEPENDS ${file})
    add_custom_target(compressed_${name} ALL DEPENDS ${PROJECT_BINARY_DIR}/${name}.gz)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.gz DESTINATION ${folder})
endfunction()

# installed_includes(TARGET FOLDER): what the target's users include, once it is installed.
function(installed_includes target folder)
    foreach(property INTERFACE_INCLUDE_DIRECTORIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES)
        get_target_property(folders ${target} ${property})
        if(folders)
            set_property(TARGET ${target} PROPERTY ${property} "$<BUILD_INTERFACE:${folders}>")
        endif()
    endforeach()
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${folder}>)
endfunction()
installed_includes(platform_standin ${private_includedir}/platform)
set(simulator_archives known_sensors signal_generator file_tap simulator host_proxy)
foreach(archive ${simulator_archives})
    installed_includes(${archive} ${private_includedir})
endforeach()

set_target_properties(sensorhub_subhal PROPERTIES INSTALL_RPATH "$ORIGIN" EXPORT_NAME subhal)
install(TARGETS sensorhub_subhal platform_standin platform ${simulator_archives}
        EXPORT sensorhub_simulator
        LIBRARY DESTINATION ${private_libdir}
        ARCHIVE DESTINATION ${private_libdir})
install(EXPORT sensorhub_simulator NAMESPACE sensorhub:: DESTINATION ${package_cmakedir})
configure_package_config_file(cmake/sensorhub_simulator-config.cmake.in
    sensorhub_simulator-config.cmake INSTALL_DESTINATION ${package_cmakedir})
write_basic_package_version_file(sensorhub_simulator-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/sensorhub_simulator-config.cmake
              ${PROJECT_BINARY_DIR}/sensorhub_simulator-config-version.cmake
        DESTINATION ${package_cmakedir})

install(DIRECTORY simulator DESTINATION ${private_includedir} FILES_MATCHING PATTERN "*.h"
        PATTERN simulator/kernel EXCLUDE)
install(FILES tools/proxy/HalProxyCallback.h tools/proxy/SubHalLibrary.h
        DESTINATION ${private_includedir}/tools/proxy)
file(GLOB platform_folders CONFIGURE_DEPENDS platform/*/include)
foreach(folder ${platform_folders})
    install(DIRECTORY ${folder}/ DESTINATION ${private_includedir}/platform)
endforeach()

if(TARGET subhalctl)
    file(RELATIVE_PATH libraries_from_program /${CMAKE_INSTALL_BINDIR} /${private_libdir})
    set_target_properties(subhalctl PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_program}")
    install(TARGETS subhalctl)
    installed_compressed(tools/subhalctl/subhalctl.1 ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES tools/subhalctl/subhalctl.bash RENAME subhalctl
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

set(docdir ${CMAKE_INSTALL_DATADIR}/doc/sensorhub-subhal)
install(FILES cmake/debian/copyright DESTINATION ${docdir})
installed_compressed(cmake/debian/changelog ${docdir})

include(cmake/SensorhubPackage.cmake)

# cpack -G DEB: one package for users and for programs that link the simulator.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sensorhub-subhal)
set(CPACK_PACKAGE_VENDOR "sensor hub sub-HAL")
set(CPACK_PACKAGE_CONTACT "Sensor hub sub-HAL maintainers <maintainers@sensorhub.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "sensors sub-HAL on a simulated sensor hub")
set(CPACK_PACKAGE_DESCRIPTION
"The sub-HAL library of a sensor hub, stand-ins for the platform's libraries
that it needs, and subhalctl, which loads the library as the sensors proxy
does and shows what it delivers: events, flushes, batches, direct channels.
No device is needed, a hub can be simulated.
.
The simulated hub comes as a CMake package too, sensorhub_simulator, by which
other programs test their own use of the library.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/platform ${PROJECT_BINARY_DIR}/subhal)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/SensorhubPackageTools.cmake)

include(CPack)

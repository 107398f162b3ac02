# Read by cpack. Without dpkg-shlibdeps it would make a package that depends on nothing.
find_program(sensorhub_file file)
find_program(sensorhub_shlibdeps dpkg-shlibdeps)
if(NOT sensorhub_file OR NOT sensorhub_shlibdeps)
    message(FATAL_ERROR "A package cannot be made without the Debian packages file and dpkg-dev")
endif()
